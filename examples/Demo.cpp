#include "Demo.h"

#include <Quoll/Errors.h>
#include <Quoll/JsonReader.h>
#include <Quoll/JsonWriter.h>
#include <Quoll/StringUtilities.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <mutex>
#include <stdexcept>

namespace Demo
{

using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using Quoll::WString;
using Quoll::WStringView;

namespace
{

constexpr std::string_view TEST_SIGNATURE = "QUOLL-TEST-SIGNATURE";

// Other control characters don't come back from every document as they were.
bool IsKeptByJson(char byte)
{
    return byte == '\t' || byte == '\r' || static_cast<unsigned char>(byte) >= 0x20;
}

std::string ToHexadecimal(const std::string& bytes)
{
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string digits;
    for (const char byte : bytes)
    {
        digits += DIGITS[static_cast<unsigned char>(byte) >> 4];
        digits += DIGITS[static_cast<unsigned char>(byte) & 15];
    }
    return digits;
}

} // namespace

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

Document MakeMessage(WStringView type)
{
    auto message = std::make_shared<Quoll::Json::DataObject>();
    message->SetValue("type"_w, WString(type));
    return message;
}

WString Encode(const Document& message)
{
    return Quoll::Json::JsonWriter::Encode(*message, false);
}

Document Decode(const WString& text, WStringView type)
{
    const auto refuse = [&text](const std::string& why) {
        throw std::runtime_error("got a message that is " + why + ": " + Shorten(ToText(text.substr(0, 200))));
    };
    Document message;
    try
    {
        message = Quoll::Json::JsonReader::Decode(text, false);
    }
    catch (const std::exception& exception)
    {
        refuse(std::string("no JSON document (") + exception.what() + ")");
    }
    if (message == nullptr)
    {
        refuse("no JSON document");
    }
    if (message->GetStringValue("type"_w) != type)
    {
        refuse("not of type \"" + ToText(type) + "\"");
    }
    return message;
}

Document MakeReport(const WString& file, std::size_t number, const std::string& line)
{
    const bool isText = StringUtilities::IsValidUtf8(line) && std::all_of(line.begin(), line.end(), IsKeptByJson);
    const bool isInfected = line.find(TEST_SIGNATURE) != std::string::npos;
    auto report = MakeMessage("report"_w);
    report->SetValue("file"_w, file);
    report->SetUint64Value("line"_w, number);
    report->SetValue("verdict"_w, isInfected ? "infected"_w : isText ? "clean"_w : "unknown"_w);
    if (isInfected)
    {
        report->GetValue("signatures"_w).AddStringValue("Quoll.Test"_w);
    }
    report->SetBooleanValue("isText"_w, isText);
    report->SetValue("content"_w, StringUtilities::Utf8ToUtf16(isText ? line : ToHexadecimal(line)));
    return report;
}

Document AnswerTo(const Document& report)
{
    auto answer = MakeMessage("seen"_w);
    answer->SetObject("report"_w, report);
    return answer;
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
