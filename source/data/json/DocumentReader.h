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

    struct Scalar
    {
        const WChar* behind;
        EType type;
    };

    Step Run(Step step);
    Step ReadMembers();
    Step ReadElements();
    Step ReadEndOfArray();
    Step ReadEndOfObject();
    Step ReadSeparator(Step next, Step end) noexcept;
    Step GoOn(const WChar* next, Step step) noexcept;
    bool CheckUnit(WChar unit) noexcept;

    const WChar* SkipToToken(const WChar* next) const noexcept;
    WChar GetUnit(const WChar* next) const noexcept;
    const WChar* TakeText(const WChar* next);
    const WChar* TakeLongText(const WChar* begin);
    const WChar* TakeRareText(const WChar* begin);
    const WChar* TakeInteger(const WChar* next);
    const WChar* TakeWord(const WChar* next, WStringView word) const noexcept;
    Scalar TakeScalar(const WChar* next);
    Scalar TakeBoolean(const WChar* next);
    const WChar* ReadScalar(const WChar* next);

    const WChar* const m_begin;
    const WChar* m_next;
    const WChar* const m_end;
    DocumentBuilder m_builder;
    std::shared_ptr<DataObject> m_root;
};

} // namespace Quoll::Json
