// A slow and obvious reader and writer of JSON documents, and what a document holds, told in text.
#pragma once

#include "Quoll/JsonReader.h"
#include "Quoll/WideString.h"

#include <cstddef>
#include <memory>
#include <stdexcept>

namespace Quoll::Tests
{

/// Json::Lexer's operations, word by word from their definition.
class ReferenceLexer
{
public:
    explicit ReferenceLexer(Json::Lexer::ReadLine readLine);

    bool HasError() const;
    bool CheckChar(WChar unit);
    void GetChar(WChar unit);
    bool CheckString(WStringView text);
    bool CheckQuotedString(WString& text);
    WString GetQuotedString();
    WString GetStringUntil(WChar unit);
    bool CheckInteger(Json::IntegerToken& token);
    bool CheckInteger(int& value);
    Json::IntegerToken GetInteger();
    bool CheckJsonBoolean(Json::BooleanToken& token);

private:
    bool ReadLineIfEmpty();
    void SkipSpace();
    bool IsNext(WChar unit) const;
    WString TakeInteger();

    bool m_hasError = false;
    WString m_line;
    std::size_t m_lastSkipPosition = static_cast<std::size_t>(-1);
    std::size_t m_position = 0;
    Json::Lexer::ReadLine m_readLine;
};

/// The document is nested deeper than the reference may recurse.
struct TooDeep : std::length_error
{
    using std::length_error::length_error;
};

/// What JsonReader::Decode has to give and to throw. Recurses.
/// @throws TooDeep  objects are nested more than `maxDepth` deep
std::shared_ptr<Json::DataObject> DecodeByReference(WStringView text, bool allowDuplicates, int maxDepth = 200);

/// What JsonWriter's Encode, or EncodeSorted, has to give. Recurses.
WString EncodeByReference(const Json::DataObject& object, bool skipNullOrEmpty, bool isSorted);

/// Everything that the getters tell of an object and of those in it, whatever their depth; "null" for
/// a null pointer.
WString Describe(const Json::DataObject* object);

} // namespace Quoll::Tests
