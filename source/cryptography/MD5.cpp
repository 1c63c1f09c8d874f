#include "Quoll/MD5.h"

#include "Quoll/Errors.h"
#include "Quoll/HandleDeleters.h"
#include "core/Handles.h"
#include "cryptography/md5/Digest.h"

#include <windows.h>

#include <memory>

namespace Quoll::Utilities
{

namespace
{

using FileHandle = std::unique_ptr<void, FileHandleDeleter>;

FileHandle Open(const WString& path)
{
    FileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!IsHandle(file.get()))
    {
        throw FileSystemException("CreateFile failed", path);
    }
    return file;
}

// A read of nothing is the end, whatever the last error is: a call that succeeds need not set it.
void AddAll(HANDLE file, Md5::Digest& digest, const WString& path)
{
    std::array<std::uint8_t, 1024> buffer;
    for (;;)
    {
        DWORD read = 0;
        if (!::ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr))
        {
            const DWORD code = ::GetLastError();
            if (code != ERROR_SUCCESS && code != ERROR_HANDLE_EOF)
            {
                throw FileSystemException("ReadFile failed", path, code);
            }
            return;
        }
        if (read == 0)
        {
            return;
        }
        digest.Update(std::span(buffer).first(read));
    }
}

} // namespace

WString MD5::ComputeHash(const WString& path)
{
    Md5::Digest digest;
    AddAll(Open(path).get(), digest, path);

    constexpr char digits[] = "0123456789ABCDEF";
    WString text;
    text.reserve(32);
    for (const std::uint8_t byte : digest.Finish())
    {
        text.push_back(static_cast<WChar>(digits[byte >> 4]));
        text.push_back(static_cast<WChar>(digits[byte & 15]));
    }
    return text;
}

} // namespace Quoll::Utilities
