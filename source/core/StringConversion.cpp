#include "Quoll/StringUtilities.h"
#include "core/ConversionFailure.h"
#include "core/utf/Transcoder.h"

#include <algorithm>
#include <utility>

namespace Quoll::Utilities
{

WString StringUtilities::Utf8ToUtf16(const std::string& text)
{
    // The transcoder does what MultiByteToWideChar is documented to do, in one pass and on both targets
    // alike.
    const std::string_view source(text.c_str());
    WString result(Utf::EstimateDecode(source), WChar{0});
    const Utf::Progress progress = Utf::Decode(source, result.data(), result.size());
    if (progress.outcome != Utf::Outcome::Complete)
    {
        ConversionFailure::Throw("MultiByteToWideChar error", text, Encoding::Utf8, Encoding::Utf16);
    }
    return result;
}

void StringUtilities::Utf8ToUtf16(const std::string& text, WString& result)
{
    result = Utf8ToUtf16(text);
}

std::string StringUtilities::Utf16ToUtf8(const WString& text)
{
    const WStringView source(text.c_str());
    std::string result(Utf::EstimateEncode(source), '\0');
    const Utf::Progress progress = Utf::Encode(source, result.data(), result.size());
    if (progress.outcome != Utf::Outcome::Complete)
    {
        ConversionFailure::Throw("bad conversion", WStringView(text), Encoding::Utf16, Encoding::Utf8);
    }
    return result;
}

void StringUtilities::Utf16ToUtf8(const WString& text, std::string& result)
{
    result = Utf16ToUtf8(text);
}

std::string StringUtilities::TruncateToAscii(const WString& text)
{
    std::string result(text.size(), '\0');
    std::transform(text.begin(), text.end(), result.begin(),
                   [](WChar unit) { return unit > 127 ? '?' : static_cast<char>(unit); });
    return result;
}

bool StringUtilities::IsValidUtf8(const std::string& text)
{
    return Utf::MeasureDecode(text, false).outcome == Utf::Outcome::Complete;
}

} // namespace Quoll::Utilities
