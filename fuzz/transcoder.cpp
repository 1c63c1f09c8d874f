// Both directions of the transcoder, strict and lenient, from bytes that mean anything.
#include "core/utf/Transcoder.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace Quoll::Utf;
using Units = std::basic_string<Unit>;

namespace
{

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

// Converts in pieces of at most `capacity` units, as a caller with a small buffer does. Capacities
// below the longest sequence couldn't always go on.
template<class Text, class View, class Convert>
Text InPieces(View input, std::size_t capacity, Convert convert)
{
    Text all;
    Text piece(capacity, 0);
    for (bool more = true; more;)
    {
        const Progress progress = convert(input, piece.data(), capacity);
        Require(progress.written <= capacity && progress.read <= input.size() &&
                progress.outcome != Outcome::IllFormed);
        all.append(piece, 0, progress.written);
        input.remove_prefix(progress.read);
        more = progress.outcome == Outcome::NoRoom;
        Require(!more || progress.read > 0);
    }
    Require(input.empty());
    return all;
}

Units Decoded(std::string_view text)
{
    const Progress measured = MeasureDecode(text, true);
    Units wide(measured.written, 0);
    const Progress progress = DecodeLenient(text, wide.data(), wide.size());
    Require(progress.outcome == Outcome::Complete && progress.written == wide.size() && progress.read == text.size());
    return wide;
}

std::string Encoded(UnitView wide)
{
    const Progress measured = MeasureEncode(wide, true);
    std::string text(measured.written, 0);
    const Progress progress = EncodeLenient(wide, text.data(), text.size());
    Require(progress.outcome == Outcome::Complete && progress.written == text.size() && progress.read == wide.size());
    return text;
}

void FromBytes(std::string_view text)
{
    const Units lenient = Decoded(text);
    Require(InPieces<Units>(text, 3, DecodeLenient) == lenient);

    Units strict(EstimateDecode(text), 0);
    const Progress measured = MeasureDecode(text, false);
    const Progress progress = Decode(text, strict.data(), strict.size());
    Require(progress.read == measured.read && progress.written == measured.written);
    strict.resize(progress.written);
    Require(lenient.starts_with(strict));
    Require(Encoded(strict) == text.substr(0, progress.read));
    Require((measured.outcome == Outcome::Complete) == (Encoded(lenient) == text));
}

void FromUnits(UnitView wide)
{
    const std::string lenient = Encoded(wide);
    Require(InPieces<std::string>(wide, 4, EncodeLenient) == lenient);

    std::string strict(EstimateEncode(wide), 0);
    const Progress measured = MeasureEncode(wide, false);
    const Progress progress = Encode(wide, strict.data(), strict.size());
    Require(progress.read == measured.read && progress.written == measured.written);
    strict.resize(progress.written);
    Require(lenient.starts_with(strict));
    Require(Decoded(strict) == wide.substr(0, progress.read));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FromBytes({reinterpret_cast<const char*>(data), size});
    Units wide(size / sizeof(Unit), 0);
    if (!wide.empty())
    {
        std::memcpy(wide.data(), data, wide.size() * sizeof(Unit));
    }
    FromUnits(wide);
    return 0;
}
