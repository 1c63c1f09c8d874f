// Texts of moments beside the forms as regular expressions, the C library's conversion of each field and its
// scan for hexadecimal numbers. Bytes are units, but two stand for the line ends beyond them.
#include "Quoll/Errors.h"
#include "Quoll/UtcTime.h"
#include "support/IsoExpressions.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::UtcTime;
using Form = UtcTime::StringValue;
using Tests::MatchesIsoExpression;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

WString Widen(const std::string& bytes)
{
    WString text;
    for (const char byte : bytes)
    {
        const auto unit = static_cast<unsigned char>(byte);
        text += static_cast<WChar>(unit == 0xA8 || unit == 0xA9 ? 0x2028 + (unit - 0xA8) : unit);
    }
    return text;
}

// The moment, or the kind of failure.
struct Outcome
{
    std::optional<UtcTime> moment;
    std::string failure;

    bool operator==(const Outcome&) const = default;
};

template<class Action>
Outcome Try(const Action& action)
{
    try
    {
        return {action(), {}};
    }
    catch (const std::exception& exception)
    {
        return {{}, exception.what()};
    }
}

std::uint16_t ReadField(const std::string& bytes, std::size_t first, std::size_t size)
{
    if (bytes.size() < first)
    {
        throw std::out_of_range("invalid string position");
    }
    return static_cast<std::uint16_t>(std::strtol(bytes.substr(first, size).c_str(), nullptr, 10));
}

UtcTime ReadIso8601(const std::string& bytes, const WString& text)
{
    if (!MatchesIsoExpression(text))
    {
        throw std::invalid_argument("Is not a valid ISO8601 string");
    }
    const std::uint16_t year = ReadField(bytes, 0, 4);
    const std::uint16_t month = ReadField(bytes, 5, 2);
    const std::uint16_t day = ReadField(bytes, 8, 2);
    const std::uint16_t hour = ReadField(bytes, 11, 2);
    const std::uint16_t minute = ReadField(bytes, 14, 2);
    return {year, month, day, hour, minute, ReadField(bytes, 17, 2), 0, false};
}

void CheckIso8601(const std::string& bytes, const WString& text)
{
    const Outcome read = Try([&] { return UtcTime(text, Form::Iso8601T, false); });
    Check(read == Try([&] { return ReadIso8601(bytes, text); }));
    Check(UtcTime::IsISO8601DateTime(text) == MatchesIsoExpression(text));
    if (read.moment && read.moment->GetYear(false) < 10000)
    {
        const WString printed = read.moment->ToString(Form::Iso8601Blank, false);
        Check(UtcTime(printed, Form::Iso8601Blank, false) == *read.moment);
        Check(printed == read.moment->ToString("yyyy'-'MM'-'dd"_w, " "_w, "HH:mm:ss"_w, false));
    }
}

// To C "0x" without a digit is no number; some libraries take it for 0.
bool HasBarePrefix(const std::string& bytes)
{
    for (std::size_t at = 0; (at = bytes.find_first_of("xX", at)) != std::string::npos; ++at)
    {
        const bool hasDigit = at + 1 < bytes.size() && std::isxdigit(static_cast<unsigned char>(bytes[at + 1])) != 0;
        if (at > 0 && bytes[at - 1] == '0' && !hasDigit)
        {
            return true;
        }
    }
    return false;
}

void CheckHexadecimal(const std::string& bytes, const WString& text)
{
    if (HasBarePrefix(bytes))
    {
        return;
    }
    unsigned high = 0;
    unsigned low = 0;
    const bool isScanned = std::sscanf(bytes.c_str(), "%08x%08x", &high, &low) == 2;
    const Outcome read = Try([&] { return UtcTime(text, Form::FileTimeHex, false); });
    Check(isScanned == read.moment.has_value());
    if (read.moment)
    {
        Check(read.moment->GetTime() == (std::uint64_t{high} << 32 | low));
        const WString printed = read.moment->ToString(Form::FileTimeHex, false);
        Check(printed.size() == 16 && UtcTime(printed, Form::FileTimeHex, false) == *read.moment);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(data, data + size);
    const WString text = Widen(bytes);
    CheckIso8601(bytes, text);
    CheckHexadecimal(bytes, text);
    return 0;
}
