// Reads the text of a file, block by block.
#pragma once

#include "Quoll/HandleDeleters.h"
#include "filesystem/TextForm.h"

#include <windows.h>

#include <memory>

namespace Quoll::Utilities
{

class TextReader
{
public:
    /// Opens the file without any restriction of sharing.
    explicit TextReader(const WString& path);

    /// If not, the last error tells why, and nothing else may be called.
    bool IsOpen() const noexcept;

    /// The bytes of the file, as far as the platform tells it.
    std::uint64_t Size() const noexcept;

    /// What the file begins with; fewer bytes than asked for only if it has no more. At most a block.
    std::string_view Peek(std::size_t count) noexcept;

    /// From here on the text has this form. At first every byte is a unit.
    void SetForm(TextForm form) noexcept;
    /// Passes over the mark if it comes next, and tells whether it does.
    bool SkipMark(std::string_view mark) noexcept;

    /// The next units; none behind the end, before a sequence that isn't of the form, and when reading fails. They
    /// stand until the next call.
    WStringView Next() noexcept;

    /// The last error of the read that failed, or ERROR_SUCCESS.
    DWORD Failure() const noexcept;

private:
    std::string_view Rest() const noexcept;
    bool Fill() noexcept; // false if nothing is added

    std::unique_ptr<void, FileHandleDeleter> m_file;
    TextForm m_form = TextForm::Bytes;
    DWORD m_failure = ERROR_SUCCESS;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_begin = 0; // of the bytes that aren't converted yet
    std::size_t m_end = 0;
    std::unique_ptr<WChar[]> m_units; // as many as bytes: none gives more than one
};

} // namespace Quoll::Utilities
