#include "data/json/TextBuffer.h"

#include "data/json/Escapes.h"

#include <new>
#include <ostream>

namespace Quoll::Json
{

using Utilities::BlockUnits;
using Utilities::CopyUntil;
using Utilities::CountUntil;
using Utilities::HasEscape;
using Utilities::LoadBlock;
using Utilities::StoreBlock;

namespace
{

struct Nowhere
{
    auto operator()(auto units) const noexcept
    {
        return units & std::uint16_t{0};
    }
};

// Copies the units before the first that has an escape, and tells their number.
[[gnu::always_inline]] inline std::size_t CopyUntilEscape(WStringView text, WChar* to) noexcept
{
    return CopyUntil(text, to, HasEscape());
}

// The same in blocks: what is copied behind the text will be overwritten.
[[gnu::always_inline]] inline std::size_t CopyUntilEscape(PaddedText text, WChar* to) noexcept
{
    for (std::size_t position = 0;; position += 2 * BlockUnits)
    {
        const auto low = LoadBlock(text.data() + position);
        const auto high = LoadBlock(text.data() + position + BlockUnits);
        StoreBlock(to + position, low);
        StoreBlock(to + position + BlockUnits, high);
        const unsigned found = Utilities::FindEscapes(low, high);
        const std::size_t run = position + static_cast<std::size_t>(std::countr_zero(found | 1u << 2 * BlockUnits));
        if (run >= text.size()) [[likely]]
        {
            return text.size();
        }
        if (found != 0)
        {
            return run;
        }
    }
}

// Text that is escaped ends at its first NUL.
WChar* WriteEscapes(WStringView text, WChar* to) noexcept
{
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

void CopyPadding(const WChar* from, WChar* to) noexcept
{
    const auto low = LoadBlock(from);
    const auto high = LoadBlock(from + BlockUnits);
    StoreBlock(to, low);
    StoreBlock(to + BlockUnits, high);
}

// The same for two blocks at a time: all their escapes are known before the first is written.
WChar* WriteEscapes(PaddedText text, WChar* to) noexcept
{
    constexpr std::size_t step = 2 * BlockUnits;
    for (; !text.empty(); text.remove_prefix(std::min(step, text.size())))
    {
        const WChar* const units = text.data();
        const std::size_t size = std::min(step, text.size());
        unsigned found = Utilities::FindEscapes(LoadBlock(units), LoadBlock(units + BlockUnits)) & ((1u << size) - 1);
        std::size_t done = 0;
        for (; found != 0; found &= found - 1)
        {
            const auto next = static_cast<std::size_t>(std::countr_zero(found));
            CopyPadding(units + done, to);
            to += next - done;
            if (units[next] == 0)
            {
                return to;
            }
            to = Utilities::WriteEscape(units[next], to);
            done = next + 1;
        }
        CopyPadding(units + done, to);
        to += size - done;
    }
    return to;
}

// The rest of a text from its first unit on that has an escape.
template<class Text>
[[gnu::noinline]] WChar* CopyEscaped(Text text, WChar* to) noexcept
{
    // Control characters alone are no reason to escape anything.
    if (!Utilities::IsMasked(text.front()) && CountUntil(text, Utilities::IsMaskedUnit()) == text.size())
    {
        return to + CopyUntil(text, to, Nowhere());
    }
    return WriteEscapes(text, to);
}

template<class Text>
[[gnu::always_inline]] inline WChar* CopyQuoted(Text text, WChar* to) noexcept
{
    *to++ = '"';
    const std::size_t run = CopyUntilEscape(text, to);
    to += run;
    if (run != text.size())
    {
        text.remove_prefix(run);
        to = CopyEscaped(text, to);
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

void TextBuffer::Append(PaddedText text)
{
    if (text.size() > PaddingSize || GetRoom() < PaddingSize)
    {
        Append(WStringView(text));
        return;
    }
    CopyPadding(text.data(), m_next);
    m_next += text.size();
}

template<class Text>
inline void TextBuffer::AppendAnyQuoted(Text text)
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

void TextBuffer::AppendQuoted(WStringView text)
{
    AppendAnyQuoted(text);
}

void TextBuffer::AppendQuoted(PaddedText text)
{
    AppendAnyQuoted(text);
}

template<class Text>
inline void TextBuffer::AppendAnyKey(Text key, bool needsComma)
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

void TextBuffer::AppendKey(WStringView key, bool needsComma)
{
    AppendAnyKey(key, needsComma);
}

void TextBuffer::AppendKey(PaddedText key, bool needsComma)
{
    AppendAnyKey(key, needsComma);
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
