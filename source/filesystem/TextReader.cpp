#include "filesystem/TextReader.h"

#include "core/Handles.h"

#include <algorithm>
#include <cstring>

namespace Quoll::Utilities
{

namespace
{

// Small enough for bytes and units to stay in the processor's cache from reading to copying.
constexpr std::size_t BLOCK = std::size_t{64} * 1024;

} // namespace

TextReader::TextReader(const WString& path)
    : m_file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr))
{
    if (IsOpen())
    {
        m_bytes = std::make_unique_for_overwrite<char[]>(BLOCK);
        m_units = std::make_unique_for_overwrite<WChar[]>(BLOCK);
    }
}

bool TextReader::IsOpen() const noexcept
{
    return IsHandle(m_file.get());
}

std::uint64_t TextReader::Size() const noexcept
{
    LARGE_INTEGER size{};
    return ::GetFileSizeEx(m_file.get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

std::string_view TextReader::Rest() const noexcept
{
    return {m_bytes.get() + m_begin, m_end - m_begin};
}

bool TextReader::Fill() noexcept
{
    std::memmove(m_bytes.get(), m_bytes.get() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    DWORD read = 0;
    if (m_failure == ERROR_SUCCESS &&
        !::ReadFile(m_file.get(), m_bytes.get() + m_end, static_cast<DWORD>(BLOCK - m_end), &read, nullptr))
    {
        m_failure = ::GetLastError();
        return false;
    }
    m_end += read;
    return read != 0;
}

std::string_view TextReader::Peek(std::size_t count) noexcept
{
    while (m_end - m_begin < count && Fill())
    {
    }
    return Rest().substr(0, count);
}

void TextReader::SetForm(TextForm form) noexcept
{
    m_form = form;
}

bool TextReader::SkipMark(std::string_view mark) noexcept
{
    const bool isThere = Peek(mark.size()) == mark;
    m_begin += isThere ? mark.size() : 0;
    return isThere;
}

WStringView TextReader::Next() noexcept
{
    while (true)
    {
        const Utf::Progress progress = ToUnits(m_form, Rest(), m_units.get(), BLOCK);
        m_begin += progress.read;
        if (progress.written != 0)
        {
            return {m_units.get(), progress.written};
        }
        // What is left is nothing, the beginning of a sequence, or wrong.
        if (Rest().size() >= LONGEST_SEQUENCE || !Fill())
        {
            return {};
        }
    }
}

DWORD TextReader::Failure() const noexcept
{
    return m_failure;
}

} // namespace Quoll::Utilities
