// An open file or folder: what its handle names.
#pragma once

#include "platform/linux/CompletionPort.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/FileSizeLimit.h"
#include "platform/linux/Object.h"

#include <cstddef>
#include <mutex>

#include <windows.h>

namespace Quoll::Platform
{

class FileObject final : public Object
{
public:
    static constexpr ObjectKind ClassKind = ObjectKind::File;

    /// `access` in single rights. A file for overlapped use has no position of its own.
    FileObject(Descriptor file, DWORD access, bool overlapped) noexcept
        : Object(ClassKind)
        , m_file(std::move(file))
        , m_access(access)
        , m_overlapped(overlapped)
        , m_isLimited((access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0 && HasFileSizeLimit())
    {
    }

    int File() const noexcept
    {
        return m_file.Get();
    }
    /// False with ERROR_ACCESS_DENIED if the handle has none of these rights.
    bool Grants(DWORD anyOf) const noexcept;

    BOOL Read(std::byte* buffer, DWORD size, DWORD* read, OVERLAPPED* overlapped) noexcept;
    BOOL Write(const std::byte* buffer, DWORD size, DWORD* written, OVERLAPPED* overlapped) noexcept;
    BOOL Associate(Ref<CompletionPort> port, ULONG_PTR key) noexcept;

private:
    struct Transfer;

    BOOL Run(const Transfer& transfer, DWORD* transferred, OVERLAPPED* overlapped) noexcept;
    bool PrepareNotice(OVERLAPPED* overlapped, CompletionNotice& notice) noexcept;

    const Descriptor m_file;
    const DWORD m_access;
    const bool m_overlapped;
    const bool m_isLimited; // how large it may become
    std::mutex m_portLock;
    PortAssociation m_port; // guarded by m_portLock
};

} // namespace Quoll::Platform
