// Where the parts of a document's text are put together.
#pragma once

#include "data/json/Escapes.h"
#include "data/json/PaddedText.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iosfwd>

namespace Quoll::Json
{

// Memory that is filled. The derived class makes room when it is full.
class TextBuffer
{
public:
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;

    void Append(WChar unit)
    {
        if (m_next == m_end)
        {
            MakeRoom(1);
        }
        *m_next++ = unit;
    }
    void Append(WStringView text);
    void Append(PaddedText text);
    // A text in double quotes, with the escapes that it needs.
    void AppendQuoted(WStringView text);
    void AppendQuoted(PaddedText text);
    // The same with a colon behind it, and a comma before it or not.
    void AppendKey(WStringView key, bool needsComma);
    void AppendKey(PaddedText key, bool needsComma);

protected:
    TextBuffer() noexcept
        : m_begin(m_first)
        , m_next(m_first)
        , m_end(m_first + FirstSize)
    {
    }
    ~TextBuffer() = default;

    // Room for one unit at least. So many are to come.
    virtual void MakeRoom(std::size_t size) = 0;

    WStringView GetContent() const noexcept
    {
        return {m_begin, static_cast<std::size_t>(m_next - m_begin)};
    }
    void Clear() noexcept
    {
        m_next = m_begin;
    }
    // Memory that has the content already, of that many units.
    void SetMemory(WChar* memory, std::size_t contentSize, std::size_t size) noexcept
    {
        m_next = memory + contentSize;
        m_begin = memory;
        m_end = memory + size;
    }

    static constexpr std::size_t FirstSize = 4096;

private:
    static constexpr std::size_t LongestEscape = Utilities::LongestEscape;
    static constexpr std::size_t PaddingSize = 2 * Utilities::BlockUnits;

    std::size_t GetRoom() const noexcept
    {
        return static_cast<std::size_t>(m_end - m_next);
    }
    // With quotes, a comma and a colon, and with a block behind it.
    bool HasRoomForAllEscaped(std::size_t size) const noexcept
    {
        static_assert(LongestEscape <= 8); // which costs no division
        return size + PaddingSize < GetRoom() / 8;
    }
    template<class Text>
    void AppendAnyQuoted(Text text);
    template<class Text>
    void AppendAnyKey(Text key, bool needsComma);
    void AppendQuotedInPieces(WStringView text);
    std::size_t AppendUntilEscape(WStringView text);
    void AppendEscaped(WStringView text);

    WChar* m_begin;
    WChar* m_next;
    WChar* m_end;
    WChar m_first[FirstSize];
};

// Collects the text in memory.
class StringBuffer final : public TextBuffer
{
public:
    StringBuffer() noexcept = default;
    StringBuffer(const StringBuffer&) = delete;
    StringBuffer& operator=(const StringBuffer&) = delete;
    ~StringBuffer()
    {
        std::free(m_memory);
    }

    WString GetText() const
    {
        return WString(GetContent());
    }

private:
    void MakeRoom(std::size_t size) override;

    WChar* m_memory = nullptr; // as soon as there is more than fits into the first
};

// Passes the text to a stream, block by block.
class StreamBuffer final : public TextBuffer
{
public:
    explicit StreamBuffer(std::basic_ostream<WChar>& stream) noexcept
        : m_stream(stream)
    {
    }

    // Passes on what is left.
    void Finish();

private:
    void MakeRoom(std::size_t size) override;

    std::basic_ostream<WChar>& m_stream;
};

} // namespace Quoll::Json
