// Versions and the numbers of filters beside the C library's scan and conversions, and versions printed by any format.
// Bytes are units.
#include "Quoll/Version.h"
#include "Quoll/DataFilter.h"
#include "Quoll/Errors.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::DataFilter;
using Utilities::Version;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

// The C library's scan saturates where ours wraps.
bool HasLongNumber(const std::string& bytes)
{
    std::size_t length = 0;
    return std::any_of(bytes.begin(), bytes.end(), [&](unsigned char byte) {
        length = std::isdigit(byte) != 0 ? length + 1 : 0;
        return length > 9;
    });
}

void CheckVersion(const std::string& bytes, const WString& text)
{
    Version version(1, 2, 3, 4);
    unsigned parts[4] = {1, 2, 3, 4};
    const bool isScanned = std::sscanf(bytes.c_str(), "%u.%u.%u.%u", &parts[0], &parts[1], &parts[2], &parts[3]) == 4 &&
                           std::count(bytes.begin(), bytes.end(), '.') == 3;
    try
    {
        version.SetVersion(text);
        Check(isScanned);
        Check(HasLongNumber(bytes) || version == Version(parts[0], parts[1], parts[2], parts[3]));
    }
    catch (const Utilities::Win32Exception&)
    {
        Check(!isScanned && version == Version(1, 2, 3, 4));
    }
    try
    {
        const WString printed = version.ToString(text);
        Check(!printed.empty() && printed.size() < 256);
    }
    catch (const Utilities::Win32Exception& error)
    {
        Check(error.GetErrorCode() == 87);
    }
}

template<class Number>
std::string Describe(Number (*convert)(const std::string&), const std::string& bytes, Number& number)
{
    try
    {
        number = convert(bytes);
        return {};
    }
    catch (const std::exception& error)
    {
        return typeid(error).name();
    }
}

// The number equals the item, or both are refused in the same way.
template<class Number>
void CheckFilter(Number (*convert)(const std::string&), const std::string& bytes, const DataFilter& filter)
{
    Number number = 0;
    const std::string expected = Describe(convert, bytes, number);
    try
    {
        Check(!DataFilter::FilterField(""_w, number, {filter}) && expected.empty());
    }
    catch (const std::exception& error)
    {
        Check(expected == typeid(error).name());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(data, data + size);
    const WString text(data, data + size);
    CheckVersion(bytes, text);
    DataFilter filter;
    filter.SetValue(text);
    if (filter.GetValue().size() == 1 && filter.GetValue()[0] == text)
    {
        CheckFilter<int>([](const std::string& item) { return std::stoi(item); }, bytes, filter);
        CheckFilter<std::uint64_t>([](const std::string& item) -> std::uint64_t { return std::stoull(item); }, bytes,
                                   filter);
    }
    return 0;
}
