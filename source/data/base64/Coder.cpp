#include "data/base64/Coder.h"

#include "data/base64/Kernels.h"

namespace Quoll::Base64Coder
{

namespace
{

template<class Unit>
Outcome DecodeAll(DecodeCursor<Unit>& cursor) noexcept
{
    return DecodePlain(cursor, cursor.inEnd);
}

// The variant in use.
const Kernel& Best() noexcept
{
    static const Kernel best = Kernels().back();
    return best;
}

} // namespace

const std::vector<Kernel>& Kernels()
{
    static const std::vector<Kernel> kernels = [] {
        std::vector<Kernel> list{{"plain", EncodePlain<char>, EncodePlain<WChar>, DecodeAll<char>, DecodeAll<WChar>}};
        AddSsse3Kernel(list);
        AddAvx2Kernel(list);
        return list;
    }();
    return kernels;
}

template<>
void Encode(EncodeCursor<char>& cursor) noexcept
{
    Best().encodeBytes(cursor);
}

template<>
void Encode(EncodeCursor<WChar>& cursor) noexcept
{
    Best().encodeWide(cursor);
}

template<>
Outcome Decode(DecodeCursor<char>& cursor) noexcept
{
    return Best().decodeBytes(cursor);
}

template<>
Outcome Decode(DecodeCursor<WChar>& cursor) noexcept
{
    return Best().decodeWide(cursor);
}

} // namespace Quoll::Base64Coder
