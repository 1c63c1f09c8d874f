// Writes text into a file, block by block.
#pragma once

#include "Quoll/HandleDeleters.h"
#include "filesystem/TextForm.h"

#include <windows.h>

#include <memory>

namespace Quoll::Utilities
{

class TextWriter
{
public:
    /// Makes the file, or empties it, without any restriction of sharing.
    explicit TextWriter(const WString& path);
    /// Writes what is still kept.
    ~TextWriter();
    TextWriter(const TextWriter&) = delete;
    TextWriter& operator=(const TextWriter&) = delete;

    /// If not, the last error tells why, and what is written goes nowhere.
    bool IsOpen() const noexcept;

    /// Writes the units before the first that can't be converted. False if there is one, or if writing fails;
    /// nothing more is written then, by later calls either.
    bool Write(WStringView units, TextForm form) noexcept;
    bool Write(std::string_view bytes) noexcept;
    /// Hands what is kept to the platform. False if that fails.
    bool Flush() noexcept;

private:
    std::unique_ptr<void, FileHandleDeleter> m_file;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_used = 0;
    bool m_isOver = false;
};

} // namespace Quoll::Utilities
