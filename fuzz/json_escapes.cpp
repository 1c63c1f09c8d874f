// The escapes of JSON documents: undoing them in any text, and making them in texts from which they
// can be undone.
#include "Quoll/JsonEncoder.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

using Quoll::WChar;
using Quoll::WString;
using Quoll::Utilities::JsonEncoder;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The first byte tells whether units are bytes or pairs of them.
    WString text;
    const bool isWide = size != 0 && data[0] % 2 != 0;
    for (std::size_t i = 1; i + (isWide ? 1 : 0) < size; i += isWide ? 2 : 1)
    {
        text += static_cast<WChar>(isWide ? data[i] | data[i + 1] << 8 : data[i]);
    }
    try
    {
        if (JsonEncoder::FromEscapedString(text).size() > text.size())
        {
            std::abort();
        }
    }
    catch (const std::invalid_argument&)
    {
    }
    // A NUL ends the text, and the escapes of the others mean other units.
    std::erase_if(text, [](WChar unit) { return unit == 0 || unit == 0x0B || unit == 0x0E || unit == 0x0F; });
    const WString escaped = JsonEncoder::ToEscapedString(text);
    if (JsonEncoder::FromEscapedString(escaped) != (JsonEncoder::IsEscaped(escaped) ? text : escaped))
    {
        std::abort();
    }
    return 0;
}
