#include "data/json/TextBuffer.h"

#include "data/json/Escapes.h"

#include <new>
#include <ostream>

namespace Quoll::Json
{

using Utilities::CopyUntil;
using Utilities::CountUntil;
using Utilities::HasEscape;

namespace
{

struct Nowhere
{
    auto operator()(auto units) const noexcept
    {
        return units & std::uint16_t{0};
    }
};

// The rest of a text from its first unit on that has an escape.
[[gnu::noinline]] WChar* CopyEscaped(WStringView text, WChar* to) noexcept
{
    // Control characters alone are no reason to escape anything.
    if (!Utilities::IsMasked(text.front()) && CountUntil(text, Utilities::IsMaskedUnit()) == text.size())
    {
        return to + CopyUntil(text, to, Nowhere());
    }
    // Text that is escaped ends at its first NUL.
    while (!text.empty() && text.front() != 0)
    {
        to = Utilities::WriteEscape(text.front(), to);
        text.remove_prefix(1);
        const std::size_t run = CopyUntil(text, to, HasEscape());
        to += run;
        text.remove_prefix(run);
    }
    return to;
}

[[gnu::always_inline]] inline WChar* CopyQuoted(WStringView text, WChar* to) noexcept
{
    *to++ = '"';
    const std::size_t run = CopyUntil(text, to, HasEscape());
    to += run;
    if (run != text.size())
    {
        to = CopyEscaped(text.substr(run), to);
    }
    *to++ = '"';
    return to;
}

} // namespace

void TextBuffer::Append(WStringView text)
{
    while (text.size() > GetRoom())
    {
        const std::size_t part = GetRoom();
        m_next += CopyUntil(text.substr(0, part), m_next, Nowhere());
        text.remove_prefix(part);
        MakeRoom(text.size());
    }
    m_next += CopyUntil(text, m_next, Nowhere());
}

void TextBuffer::AppendQuoted(WStringView text)
{
    if (HasRoomForAllEscaped(text.size()))
    {
        m_next = CopyQuoted(text, m_next);
    }
    else
    {
        AppendQuotedInPieces(text);
    }
}

void TextBuffer::AppendKey(WStringView key, bool needsComma)
{
    if (!HasRoomForAllEscaped(key.size()))
    {
        if (needsComma)
        {
            Append(',');
        }
        AppendQuotedInPieces(key);
        Append(':');
        return;
    }
    WChar* next = m_next;
    *next = ',';
    next = CopyQuoted(key, next + (needsComma ? 1 : 0));
    *next = ':';
    m_next = next + 1;
}

void TextBuffer::AppendQuotedInPieces(WStringView text)
{
    Append('"');
    text.remove_prefix(AppendUntilEscape(text));
    if (CountUntil(text, Utilities::IsMaskedUnit()) == text.size())
    {
        Append(text);
    }
    else
    {
        AppendEscaped(text);
    }
    Append('"');
}

// Tells how much there was before the first unit that has an escape.
std::size_t TextBuffer::AppendUntilEscape(WStringView text)
{
    std::size_t done = 0;
    while (true)
    {
        const WStringView part = text.substr(done, GetRoom());
        const std::size_t run = CopyUntil(part, m_next, HasEscape());
        m_next += run;
        done += run;
        if (run != part.size() || done == text.size())
        {
            return done;
        }
        MakeRoom(text.size() - done);
    }
}

void TextBuffer::AppendEscaped(WStringView text)
{
    while (!text.empty() && text.front() != 0)
    {
        WChar escape[Utilities::LongestEscape];
        WChar* const end = Utilities::WriteEscape(text.front(), escape);
        Append(WStringView(escape, end));
        text.remove_prefix(1);
        text.remove_prefix(AppendUntilEscape(text));
    }
}

void StringBuffer::MakeRoom(std::size_t size)
{
    const WStringView content = GetContent();
    const std::size_t contentSize = content.size();
    // Fewer and larger steps cost less, as long as nobody misses what is left over.
    constexpr std::size_t large = 16'000'000;
    const std::size_t grown = contentSize < large ? 3 * contentSize : contentSize + contentSize / 2;
    if (size > WString().max_size() - grown)
    {
        throw std::bad_alloc();
    }
    size += grown;
    // Memory that is grown in place isn't copied, and new memory isn't filled.
    auto* const memory = static_cast<WChar*>(std::realloc(m_memory, size * sizeof(WChar)));
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    if (m_memory == nullptr)
    {
        std::memcpy(memory, content.data(), contentSize * sizeof(WChar));
    }
    m_memory = memory;
    SetMemory(memory, contentSize, size);
}

void StreamBuffer::MakeRoom(std::size_t /*size*/)
{
    Finish();
}

void StreamBuffer::Finish()
{
    const WStringView content = GetContent();
    Clear();
    m_stream.write(content.data(), static_cast<std::streamsize>(content.size()));
}

} // namespace Quoll::Json
