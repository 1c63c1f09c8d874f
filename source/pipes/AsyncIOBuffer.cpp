#include "pipes/AsyncIOBuffer.h"

#include "Quoll/StringUtilities.h"

#include "pipes/PipeText.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace Quoll::Utilities
{

AsyncIOBuffer::AsyncIOBuffer(NamedPipeMessageEncoding encoding, const WString& message)
    : m_encoding(encoding)
{
    const auto fill = [this](const auto* units, std::size_t count) {
        const auto* bytes = reinterpret_cast<const std::byte*>(units);
        m_bytes.reserve((count + 1) * UnitSize());
        m_bytes.assign(bytes, bytes + count * UnitSize());
        m_bytes.resize((count + 1) * UnitSize());
    };
    if (encoding == NamedPipeMessageEncoding::Utf8)
    {
        const std::string text = StringUtilities::Utf16ToUtf8(message);
        fill(text.data(), text.size());
    }
    else
    {
        fill(message.data(), message.size());
    }
    CheckSize();
}

AsyncIOBuffer::AsyncIOBuffer(NamedPipeMessageEncoding encoding, std::size_t size)
    : m_encoding(encoding)
{
    m_bytes.resize((std::max<std::size_t>(size, 1) + 1) * UnitSize());
    CheckSize();
}

AsyncIOBuffer::~AsyncIOBuffer() = default;

void AsyncIOBuffer::Clear() noexcept
{
    std::memset(m_bytes.data(), 0, m_used);
    m_used = 0;
}

WString AsyncIOBuffer::AsWideString() const
{
    if (m_encoding == NamedPipeMessageEncoding::Utf8)
    {
        const auto* text = reinterpret_cast<const char*>(m_bytes.data());
        return Widen(std::string_view(text, std::strlen(text)));
    }
    // Units as they are: the halves of a surrogate pair that a chunk's end cut meet again.
    WString text((m_used + 1) / sizeof(WChar), WChar());
    std::memcpy(text.data(), m_bytes.data(), text.size() * sizeof(WChar));
    text.resize(std::char_traits<WChar>::length(text.c_str()));
    return text;
}

std::uint32_t AsyncIOBuffer::PayloadSize() const noexcept
{
    return static_cast<std::uint32_t>(m_bytes.size() - UnitSize());
}

std::byte* AsyncIOBuffer::Data() noexcept
{
    m_used = PayloadSize(); // for all that is known
    return m_bytes.data();
}

void AsyncIOBuffer::Received(std::size_t count) noexcept
{
    m_used = std::min<std::size_t>(count, PayloadSize());
}

std::size_t AsyncIOBuffer::UnitSize() const noexcept
{
    return m_encoding == NamedPipeMessageEncoding::Utf8 ? sizeof(char) : sizeof(WChar);
}

void AsyncIOBuffer::CheckSize() const
{
    if (m_bytes.size() - UnitSize() > std::numeric_limits<std::uint32_t>::max())
    {
        throw std::runtime_error("The pipe message is too long");
    }
}

} // namespace Quoll::Utilities
