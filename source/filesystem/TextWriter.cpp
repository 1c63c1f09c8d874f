#include "filesystem/TextWriter.h"

#include "core/Handles.h"

#include <algorithm>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

// Large enough for the host to keep the file's content in large pieces, small enough for the processor's cache.
constexpr std::size_t BLOCK = std::size_t{256} * 1024;

} // namespace

TextWriter::TextWriter(const WString& path)
    : m_file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr))
    , m_isOver(!IsHandle(m_file.get()))
{
    if (!m_isOver)
    {
        m_bytes = std::make_unique_for_overwrite<char[]>(BLOCK);
    }
}

TextWriter::~TextWriter()
{
    Flush();
}

bool TextWriter::IsOpen() const noexcept
{
    return IsHandle(m_file.get());
}

bool TextWriter::Flush() noexcept
{
    DWORD written = 0;
    const auto size = static_cast<DWORD>(std::exchange(m_used, 0));
    if (size == 0 || (::WriteFile(m_file.get(), m_bytes.get(), size, &written, nullptr) && written == size))
    {
        return true;
    }
    m_isOver = true;
    return false;
}

bool TextWriter::Write(WStringView units, TextForm form) noexcept
{
    while (!m_isOver)
    {
        const Utf::Progress progress = ToBytes(form, units, m_bytes.get() + m_used, BLOCK - m_used);
        m_used += progress.written;
        if (progress.outcome == Utf::Outcome::Complete)
        {
            return true;
        }
        units.remove_prefix(progress.read);
        m_isOver = progress.outcome == Utf::Outcome::IllFormed;
        Flush();
    }
    return false;
}

bool TextWriter::Write(std::string_view bytes) noexcept
{
    while (!m_isOver)
    {
        const std::size_t count = std::min(bytes.size(), BLOCK - m_used);
        std::copy_n(bytes.data(), count, m_bytes.get() + m_used);
        m_used += count;
        bytes.remove_prefix(count);
        if (bytes.empty())
        {
            return true;
        }
        Flush();
    }
    return false;
}

} // namespace Quoll::Utilities
