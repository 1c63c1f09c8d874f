// The regular-expression engine on any pattern, text and replacement, which NULs separate. It may
// refuse and it may give up; it may not crash or go on for ever.
#include "Quoll/StringUtilities.h"

#include <cstdint>
#include <regex>
#include <string_view>

namespace
{

Quoll::WString TakePart(std::string_view& data)
{
    const std::string_view part = data.substr(0, data.find('\0'));
    data.remove_prefix(part.size() < data.size() ? part.size() + 1 : part.size());
    Quoll::WString wide;
    for (const char byte : part)
    {
        wide.push_back(static_cast<unsigned char>(byte));
    }
    return wide;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const Quoll::WString pattern = TakePart(rest);
    const Quoll::WString text = TakePart(rest);
    const Quoll::WString replacement = TakePart(rest);
    try
    {
        Quoll::Utilities::StringUtilities::ReplaceRegex(text, pattern, replacement);
    }
    catch (const std::regex_error&)
    {
    }
    return 0;
}
