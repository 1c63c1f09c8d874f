#include "Demo.h"

#include <Quoll/Errors.h>
#include <Quoll/StringUtilities.h>

#include <iostream>
#include <mutex>

namespace Demo
{

using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using Quoll::WString;
using Quoll::WStringView;

std::shared_ptr<MultiClientPipe> MakeEndpoint(const WString& name)
{
    // UTF-16 carries every text whole, however long; UTF-8 would be cut where a read buffer ends.
    return MultiClientPipe::Create("\\\\.\\pipe\\"_w + name, NamedPipeMessageEncoding::Utf16, TIMEOUT, 65536, false);
}

WString FromArgument(std::string_view argument)
{
    return StringUtilities::Utf8ToUtf16(std::string(argument));
}

std::string ToText(WStringView wide)
{
    try
    {
        return StringUtilities::Utf16ToUtf8(WString(wide));
    }
    catch (const ConversionException&)
    {
        return StringUtilities::TruncateToAscii(WString(wide));
    }
}

void Say(std::string_view who, std::string_view what)
{
    static std::mutex lock;
    std::string line(who);
    line += std::string(who.size() < 9 ? 9 - who.size() : 1, ' ');
    line += what.substr(0, what.find_last_not_of("\r\n") + 1);
    line += '\n';
    const std::lock_guard guard(lock);
    std::cout << line << std::flush;
}

WString AnswerTo(const WString& message)
{
    return "seen "_w + message;
}

WString PackLine(std::size_t number, const std::string& line)
{
    const bool isText = StringUtilities::IsValidUtf8(line) && line.find('\0') == std::string::npos;
    std::string packed = std::to_string(number) + (isText ? " text " : " bytes ");
    if (isText)
    {
        packed += line;
    }
    else
    {
        constexpr std::string_view DIGITS = "0123456789abcdef";
        for (const char byte : line)
        {
            packed += DIGITS[static_cast<unsigned char>(byte) >> 4];
            packed += DIGITS[static_cast<unsigned char>(byte) & 15];
        }
    }
    return StringUtilities::Utf8ToUtf16(packed);
}

std::string Shorten(const std::string& text)
{
    constexpr std::size_t LIMIT = 72;
    std::string shown = text;
    if (text.size() > LIMIT)
    {
        std::size_t end = LIMIT;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) // not within a character
        {
            --end;
        }
        shown = text.substr(0, end) + " ...";
    }
    for (char& byte : shown)
    {
        byte = static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F ? ' ' : byte; // keep the terminal calm
    }
    return shown;
}

} // namespace Demo
