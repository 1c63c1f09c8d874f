// Reads a document from one piece of text.
#pragma once

#include "Quoll/JsonObject.h"
#include "data/json/DocumentBuilder.h"

#include <memory>

namespace Quoll::Json
{

// A machine whose steps each take a token or two, so that nesting needs no stack of the thread.
class DocumentReader
{
public:
    // The text has to live until the reading ends.
    DocumentReader(WStringView text, bool allowDuplicates) noexcept;

    // The root object; null if the text is no document.
    std::shared_ptr<DataObject> Read();

    // Behind what was taken.
    std::size_t GetPosition() const noexcept
    {
        return static_cast<std::size_t>(m_next - m_begin);
    }

private:
    enum class Step : std::uint8_t
    {
        Member,
        Element,
        EndOfArray,
        EndOfObject,
        EndOfDocument,
        Failure
    };

    // What comes next, and where.
    struct Place
    {
        const WChar* next;
        Step step;
    };

    // A text that was put behind the builder's, and what comes behind its token.
    struct Token
    {
        const WChar* behind; // null if there is none
        std::size_t size;
    };

    Place Run(Place place);
    Place ReadMembers(const WChar* next);
    Place ReadElements(const WChar* next);
    bool CloseArray(const WChar*& next) noexcept;
    Place ReadEndOfArray(const WChar* next);
    Place ReadEndOfObject(const WChar* next);
    Place ReadSeparator(const WChar* next, Step going, Step end) const noexcept;

    bool IsNext(const WChar*& next, WChar unit) const noexcept;
    const WChar* SkipToToken(const WChar* next) const noexcept;
    WChar GetUnit(const WChar* next) const noexcept;
    unsigned CopyLastUnits(const WChar* next, WChar* to) const noexcept;
    Token TakeText(const WChar* next);
    Token TakeLongText(const WChar* next, unsigned found);
    Token TakeRareText(const WChar* begin);
    Token TakeInteger(const WChar* next);
    const WChar* TakeWord(const WChar* next, WStringView word) const noexcept;
    // These pass the type of a value and the size of its text on.
    template<class Add>
    bool TakeString(const WChar*& next, Add add);
    template<class Add>
    const WChar* TakeNumberOrBoolean(const WChar* next, WChar unit, Add add);
    template<class Add>
    const WChar* TakeBoolean(const WChar* next, Add add);
    const WChar* ReadValue(const WChar* next, WChar unit);

    const WChar* const m_begin;
    const WChar* m_next;
    const WChar* const m_end;
    const WChar* const m_lastBlocks; // from here on no block can be read
    DocumentBuilder m_builder;
    std::shared_ptr<DataObject> m_root;
};

} // namespace Quoll::Json
