// The lexer's operations, in any order, on any lines, beside the reference. The input's first line
// names the operations, the others are the lines to read.
#include "Json.h"
#include "Quoll/JsonReader.h"
#include "support/ReferenceJson.h"

#include <memory>

using namespace Quoll;
using namespace Quoll::Json;
using namespace Quoll::Literals;

namespace
{

// Gives the text line by line.
Lexer::ReadLine LinesOf(const WString& text)
{
    return [text, position = std::size_t{0}](WString& line) mutable {
        if (position > text.size())
        {
            return false;
        }
        const std::size_t end = std::min(text.find('\n', position), text.size());
        line = text.substr(position, end - position);
        position = end + 1;
        return true;
    };
}

WString Answer(bool isFound, const WString& text)
{
    return isFound ? "+"_w + text : "-"_w;
}

// Does what the unit names, and tells the result.
template<class AnyLexer>
WString Do(AnyLexer& lexer, WChar operation, WChar argument)
{
    WString text;
    IntegerToken integer;
    BooleanToken boolean;
    int number = 0;
    switch (operation)
    {
    case 'c':
        return Answer(lexer.CheckChar(argument), {});
    case 'C':
        lexer.GetChar(argument);
        return {};
    case 's':
        return Answer(lexer.CheckString(WString{'n', argument}), {});
    case 'e':
        return Answer(lexer.CheckString({}), {});
    case 'q':
        return lexer.CheckQuotedString(text) ? Answer(true, text) : Answer(false, {});
    case 'Q':
        return lexer.GetQuotedString();
    case 'u':
        return lexer.GetStringUntil(argument);
    case 'i':
        return lexer.CheckInteger(integer) ? Answer(true, integer.GetText()) : Answer(false, {});
    case 'n':
        return lexer.CheckInteger(number) ? Answer(true, WString(1, static_cast<WChar>(number & 0xFFFF)) +
                                                             static_cast<WChar>((number >> 16) & 0xFFFF))
                                          : Answer(false, {});
    case 'I':
        return lexer.GetInteger().GetText();
    default:
        return lexer.CheckJsonBoolean(boolean) ? Answer(true, boolean.GetText()) : Answer(false, {});
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const WString input = Fuzz::TextOf(data, size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const WString operations = input.substr(0, end);
    const WString lines = input.substr(std::min(end + 1, input.size()));
    Lexer lexer;
    lexer.SetReadLine(LinesOf(lines));
    Tests::ReferenceLexer reference(LinesOf(lines));
    for (std::size_t at = 0; at < operations.size(); ++at)
    {
        const WChar argument = at + 1 < operations.size() ? operations[at + 1] : operations[0];
        Fuzz::Require(Do(lexer, operations[at], argument) == Do(reference, operations[at], argument));
        Fuzz::Require(lexer.HasError() == reference.HasError());
    }
    return 0;
}
