// The address checks beside the C library's reading of numbers. Bytes are units; those above 127 stand for wide
// white space.
#include "Quoll/IPRules.h"
#include "Quoll/StringUtilities.h"
#include "core/CharacterClass.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <string>
#include <vector>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::StringUtilities;

std::int32_t Read(const WString& part, int base)
{
    std::wstring wide;
    for (const WChar unit : part)
    {
        wide += Utilities::IsSpace(unit) ? L' ' : static_cast<wchar_t>(unit);
    }
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<long long>(std::wcstoll(wide.c_str(), nullptr, base), Limits::min(), Limits::max()));
}

bool IsIPv4(const WString& text)
{
    const std::vector<WString> parts = StringUtilities::Split(text, "."_w, true);
    return parts.size() == 4 && std::count(text.begin(), text.end(), WChar{'.'}) == 3 && Read(parts[0], 10) != 0 &&
           std::all_of(parts.begin(), parts.end(),
                       [](const WString& part) { return static_cast<std::uint32_t>(Read(part, 10)) <= 255; });
}

bool IsIPv6(const WString& text)
{
    const std::vector<WString> parts = StringUtilities::Split(text, ":"_w, true);
    return !text.empty() && std::count(text.begin(), text.end(), WChar{':'}) < 8 &&
           std::all_of(
               parts.begin(), parts.end(),
               [](const WString& part) {
                   return std::any_of(part.begin(), part.end(), Utilities::IsHexDigit) && Read(part, 16) >= 0;
               });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr WChar spaces[] = {0x85, 0xA0, 0x2003, 0x3000};
    WString text;
    for (const std::uint8_t byte : std::basic_string_view<std::uint8_t>(data, size))
    {
        text += byte < 0x80 ? WChar{byte} : spaces[byte % 4];
    }
    if (Utilities::IPRules::isValidIPv4(text) != IsIPv4(text) || Utilities::IPRules::isValidIPv6(text) != IsIPv6(text))
    {
        std::abort();
    }
    return 0;
}
