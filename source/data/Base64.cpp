#include "Quoll/StringUtilities.h"
#include "Quoll/TextCodecs.h"
#include "core/utf/Transcoder.h"
#include "data/base64/Coder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <stdexcept>

// Wide text is converted piece by piece through a buffer that stays in the processor's cache. Where that
// meets anything but well-formed text without NUL, the work is done again by whole strings, one conversion
// after the other, which says what the result or the failure is.

namespace Quoll::Utilities
{

namespace
{

using Bytes = std::array<unsigned char, 6144>;
static_assert(std::tuple_size_v<Bytes> % 3 == 0, "a full buffer needs no padding");

bool HasNul(const unsigned char* bytes, std::size_t size) noexcept
{
    return std::memchr(bytes, 0, size) != nullptr;
}

std::size_t SizeToEncode(std::size_t bytes)
{
    if (bytes > WString().max_size() / 4 * 3)
    {
        throw std::runtime_error("Cannot encode base64 string");
    }
    return Base64Coder::EncodedSize(bytes);
}

WString EncodeBytes(const std::string& bytes)
{
    WString result(SizeToEncode(bytes.size()), WChar{0});
    const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
    Base64Coder::EncodeCursor<WChar> cursor{in, in + bytes.size(), result.data()};
    Base64Coder::Encode(cursor);
    return result;
}

bool EncodePieces(WStringView text, WString& result)
{
    // Enough for ASCII; what else there is shows on the way.
    result.resize(SizeToEncode(text.size()));
    Bytes bytes;
    std::size_t written = 0;
    std::size_t kept = 0; // bytes of a group that isn't whole yet
    for (bool more = true; more;)
    {
        const Utf::Progress progress =
            Utf::Encode(text, reinterpret_cast<char*>(bytes.data()) + kept, bytes.size() - kept);
        if (progress.outcome == Utf::Outcome::IllFormed || HasNul(bytes.data() + kept, progress.written))
        {
            return false;
        }
        more = progress.outcome == Utf::Outcome::NoRoom;
        text.remove_prefix(progress.read);
        const std::size_t filled = kept + progress.written;
        if (Base64Coder::EncodedSize(filled + text.size()) > result.size() - written)
        {
            result.resize(written + SizeToEncode(filled + Utf::EstimateEncode(text)));
        }
        kept = more ? filled % 3 : 0;
        const unsigned char* const end = bytes.data() + (filled - kept);
        Base64Coder::EncodeCursor<WChar> cursor{bytes.data(), end, result.data() + written};
        Base64Coder::Encode(cursor);
        written = static_cast<std::size_t>(cursor.out - result.data());
        std::copy_n(end, kept, bytes.data());
    }
    result.resize(written);
    return true;
}

// Leaves the vector empty if the text is refused.
template<class Text>
bool DecodeBytes(const Text& text, std::vector<std::uint8_t>& bytes)
{
    using Unit = typename Text::value_type;
    bytes.clear();
    bytes.resize(Base64Coder::DecodedLimit(text.size()));
    Base64Coder::DecodeCursor<Unit> cursor{text.data(), text.data() + text.size(), bytes.data(),
                                           bytes.data() + bytes.size()};
    const bool decoded = Base64Coder::Decode(cursor) == Base64Coder::Outcome::Complete;
    bytes.resize(decoded ? static_cast<std::size_t>(cursor.out - bytes.data()) : 0);
    return decoded;
}

bool DecodePieces(WStringView text, WString& result)
{
    result.resize(Base64Coder::DecodedLimit(text.size()));
    Bytes bytes;
    std::size_t written = 0;
    std::size_t kept = 0; // bytes of a sequence that isn't whole yet
    Base64Coder::DecodeCursor<WChar> cursor{text.data(), text.data() + text.size(), nullptr,
                                            bytes.data() + bytes.size()};
    for (bool more = true; more;)
    {
        cursor.out = bytes.data() + kept;
        const Base64Coder::Outcome outcome = Base64Coder::Decode(cursor);
        const auto filled = static_cast<std::size_t>(cursor.out - bytes.data());
        if (outcome == Base64Coder::Outcome::Refused || HasNul(bytes.data(), filled))
        {
            return false;
        }
        more = outcome == Base64Coder::Outcome::NoRoom;
        const Utf::Progress progress = Utf::Decode({reinterpret_cast<const char*>(bytes.data()), filled},
                                                   result.data() + written, result.size() - written);
        written += progress.written;
        kept = filled - progress.read;
        if (kept > (more ? 3U : 0U))
        {
            return false;
        }
        std::copy_n(bytes.data() + progress.read, kept, bytes.data());
    }
    result.resize(written);
    return true;
}

} // namespace

WString Base64::Encode(const WString& text)
{
    WString result;
    if (EncodePieces(text, result))
    {
        return result;
    }
    return EncodeBytes(StringUtilities::Utf16ToUtf8(text));
}

WString Base64::Decode(const WString& text)
{
    WString result;
    if (DecodePieces(text, result))
    {
        return result;
    }
    std::vector<std::uint8_t> bytes;
    Decode(text, bytes);
    return StringUtilities::Utf8ToUtf16(std::string(bytes.begin(), bytes.end()));
}

void Base64::Decode(const std::string& text, std::vector<std::uint8_t>& bytes)
{
    if (!DecodeBytes(text, bytes))
    {
        throw std::runtime_error("Cannot decode base64 string");
    }
}

void Base64::Decode(const WString& text, std::vector<std::uint8_t>& bytes)
{
    if (!DecodeBytes(text, bytes))
    {
        Decode(StringUtilities::Utf16ToUtf8(text), bytes);
    }
}

} // namespace Quoll::Utilities
