// Reads JSON documents.
//
//     std::shared_ptr<DataObject> document = Quoll::Json::JsonReader::Decode(text, false);
//     if (document == nullptr) ... // the text is no document
//
// The dialect is RFC 8259's, narrower in places and looser in others:
//
// - The root is an object; what follows it is ignored.
// - Numbers are integers: an optional sign and digits, kept as they are written, with their leading
//   zeros and "+", a sign alone included. Fractions and exponents make the text no document.
// - An array has texts, integers, booleans and objects as elements, mixed at will. Neither null nor
//   an array may be an element.
// - Commas may be too many: `{"a":1,}`, `[1,]`, `[1,,2]`; `[,]` is an empty array. A key without
//   a value, `{"a":}`, isn't stored.
// - White space is all of Unicode's white space.
// - Strings may hold line breaks and control characters. Escapes are undone as
//   JsonEncoder::FromEscapedString does it.
// - A double quote that is never closed counts as one unit that is passed over where a key or
//   a value may stand: `{"}` is an empty object.
//
// Depth, length and number of the tokens are bounded by memory alone; time is linear in the text, but
// for the ordering of the keys.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/JsonObject.h"
#include "Quoll/JsonValue.h"
#include "Quoll/WideString.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace Quoll::Json
{

/// Takes tokens from lines of text.
///
/// Every `Check` and `Get` operation first passes over white space, and asks for the next line at
/// the end of one; an empty line ends the text. A `Check` operation answers false if its token doesn't come next; a
/// `Get` operation sets the error flag then, and from there on every operation finds nothing. A lexer belongs to one
/// thread.
///
/// Each operation throws std::bad_function_call if a line is needed and no line source is set.
class QUOLL_API Lexer
{
public:
    /// Puts the next line into the text, and answers false if there is none. When it is called the
    /// text is the line before, or empty before the first.
    using ReadLine = std::function<bool(WString&)>;

    /// Sets the line source.
    void SetReadLine(ReadLine readLine);
    /// Whether a token that had to come was missing.
    bool HasError() const noexcept;
    /// Takes the unit if it comes next.
    bool CheckChar(WChar unit);
    /// Takes the unit; an error if it doesn't come next.
    void GetChar(WChar unit);
    /// Takes the text if it comes next.
    bool CheckString(WStringView text);
    /// Takes a string in double quotes, and puts what stands between them into `text`, escapes not
    /// undone. If no quote ends it, just the opening one is taken, and the answer is false.
    bool CheckQuotedString(WString& text);
    /// Takes a string in double quotes, as CheckQuotedString does; an error if there is none.
    WString GetQuotedString();
    /// Takes the text up to the unit, or to the end of the line, and the unit.
    WString GetStringUntil(WChar unit);
    /// Takes an integer: an optional sign and the digits behind it, which may be none.
    bool CheckInteger(IntegerToken& token);
    /// The same as a number; the nearest int if it is out of range, 0 without digits.
    bool CheckInteger(int& value);
    /// Takes an integer; an error, and an empty text, if there is none.
    IntegerToken GetInteger();
    /// Takes "true" or "false".
    bool CheckJsonBoolean(BooleanToken& token);

protected:
    /// Makes the text the only line.
    void InitializeReader(const WString& text);

private:
    friend class JsonReader;

    bool ReadLineIfEmpty();
    void SkipSpaceFrom(std::size_t position) noexcept;
    const WChar* GetLineEnd() const noexcept;

    bool m_hasError = false;
    bool m_noSkip = false; // whether the operations leave white space and lines to others
    WString m_line;
    std::size_t m_lastSkipPosition = static_cast<std::size_t>(-1);
    std::size_t m_position = 0;
    ReadLine m_readLine;
};

/// Reads a document.
class QUOLL_API JsonReader : public Lexer
{
public:
    /// Reads the text's root object. `allowDuplicates` tells what a key does that its object has
    /// already: it is either refused, or its value is set, or added if it is an array, in the value
    /// that is there.
    /// @returns null if the text is no document
    /// @throws std::runtime_error     "Duplicate attribute": a key comes twice
    /// @throws std::invalid_argument  "invalid stoul argument": no hexadecimal digit in a `\u` escape
    /// @throws std::bad_alloc
    static std::shared_ptr<DataObject> Decode(WStringView text, bool allowDuplicates);

    /// A reader of which Parse may be called again and again.
    explicit JsonReader(bool allowDuplicates);
    /// Decode by a reader that goes on: behind the root object the lexer's operations take what
    /// follows it, and HasError tells whether there was no document. Each call begins
    /// anew, behind one that threw as well.
    std::shared_ptr<DataObject> Parse(const WString& text);

private:
    bool m_allowDuplicates;
};

} // namespace Quoll::Json
