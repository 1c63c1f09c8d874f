// Base64 from bytes that mean anything: the vector kernels against the plain one, whole and in pieces, and
// wide text against one conversion after the other.
#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"
#include "Quoll/TextCodecs.h"
#include "data/base64/Kernels.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Quoll;
using Base64Coder::Kernel;
using Base64Coder::Outcome;
using Utilities::Base64;
using Utilities::StringUtilities;

namespace
{

using Bytes = std::vector<std::uint8_t>;

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

template<class Unit>
using Decoder = Outcome (*)(Base64Coder::DecodeCursor<Unit>&) noexcept;

// By pieces of at most `room` bytes.
template<class Unit>
std::optional<Bytes> Decoded(Decoder<Unit> decode, const std::vector<Unit>& text, std::size_t room)
{
    Bytes all;
    Bytes piece(room);
    Base64Coder::DecodeCursor<Unit> cursor{text.data(), text.data() + text.size(), nullptr, piece.data() + room};
    for (Outcome outcome = Outcome::NoRoom; outcome == Outcome::NoRoom;)
    {
        cursor.out = piece.data();
        outcome = decode(cursor);
        if (outcome == Outcome::Refused)
        {
            return std::nullopt;
        }
        Require(cursor.out != piece.data() || outcome == Outcome::Complete);
        all.insert(all.end(), piece.data(), cursor.out);
    }
    Require(cursor.in == cursor.inEnd);
    return all;
}

template<class Unit>
std::optional<Bytes> DecodedByAll(const std::vector<Unit>& text, Decoder<Unit> Kernel::* decode)
{
    const std::size_t limit = Base64Coder::DecodedLimit(text.size());
    const Kernel& plain = Base64Coder::Kernels().front();
    const std::optional<Bytes> expected = Decoded(plain.*decode, text, limit);
    for (const Kernel& kernel : Base64Coder::Kernels())
    {
        Require(Decoded(kernel.*decode, text, limit) == expected);
        Require(Decoded(kernel.*decode, text, 41) == expected);
        Require(Decoded(kernel.*decode, text, 3) == expected);
    }
    return expected;
}

// What the work gives, or nothing if it throws what it may.
template<class Work>
auto ResultOf(Work work) -> std::optional<decltype(work())>
{
    try
    {
        return work();
    }
    catch (const std::runtime_error& error)
    {
        Require(std::strcmp(error.what(), "Cannot decode base64 string") == 0);
    }
    catch (const Utilities::ConversionException&)
    {
    }
    return std::nullopt;
}

template<class Text>
Bytes VectorOf(const Text& text)
{
    Bytes bytes;
    Base64::Decode(text, bytes);
    return bytes;
}

WString WideOf(const Bytes& bytes)
{
    return StringUtilities::Utf8ToUtf16(std::string(bytes.begin(), bytes.end()));
}

void DecodeBytes(const std::string& text)
{
    const auto expected = DecodedByAll(std::vector<char>(text.begin(), text.end()), &Kernel::decodeBytes);
    Require(ResultOf([&] { return VectorOf(text); }) == expected);
}

void DecodeWide(const WString& text)
{
    const auto decoded = DecodedByAll(std::vector<WChar>(text.begin(), text.end()), &Kernel::decodeWide);
    const auto bytes = ResultOf([&] { return VectorOf(StringUtilities::Utf16ToUtf8(text)); });
    Require(ResultOf([&] { return VectorOf(text); }) == bytes);
    Require(!decoded || decoded == bytes);
    const auto wide = ResultOf([&] { return WideOf(VectorOf(text)); });
    Require(ResultOf([&] { return Base64::Decode(text); }) == wide);
}

template<class Unit>
std::vector<Unit> EncodedByAll(const Bytes& bytes, void (*Kernel::*encode)(Base64Coder::EncodeCursor<Unit>&) noexcept)
{
    std::vector<Unit> expected;
    for (const Kernel& kernel : Base64Coder::Kernels())
    {
        std::vector<Unit> text(Base64Coder::EncodedSize(bytes.size()));
        Base64Coder::EncodeCursor<Unit> cursor{bytes.data(), bytes.data() + bytes.size(), text.data()};
        (kernel.*encode)(cursor);
        Require(cursor.out == text.data() + text.size());
        Require(text == expected || &kernel == &Base64Coder::Kernels().front());
        expected = text;
    }
    return expected;
}

WString Encode(const Bytes& bytes)
{
    const std::vector<char> text = EncodedByAll(bytes, &Kernel::encodeBytes);
    const std::vector<WChar> wide = EncodedByAll(bytes, &Kernel::encodeWide);
    Require(std::equal(text.begin(), text.end(), wide.begin(), wide.end()));
    Require(VectorOf(std::string(text.begin(), text.end())) == bytes);
    return {wide.begin(), wide.end()};
}

void EncodeWide(const WString& text)
{
    const auto utf8 = ResultOf([&] { return StringUtilities::Utf16ToUtf8(text); });
    const auto encoded = ResultOf([&] { return Base64::Encode(text); });
    Require(encoded.has_value() == utf8.has_value());
    Require(!utf8 || *encoded == Encode(Bytes(utf8->begin(), utf8->end())));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    DecodeBytes(text);
    DecodeWide(WString(text.begin(), text.end()));
    WString wide(size / 2, 0);
    if (!wide.empty())
    {
        std::memcpy(wide.data(), data, wide.size() * 2);
    }
    DecodeWide(wide);
    EncodeWide(wide);
    // Long enough for the buffer in the middle to be filled more than once.
    WString repeated;
    while (!wide.empty() && size % 8 == 0 && repeated.size() < 7000)
    {
        repeated += wide;
    }
    EncodeWide(repeated);
    DecodeWide(Encode(Bytes(data, data + size)));
    DecodeWide(repeated);
    return 0;
}
