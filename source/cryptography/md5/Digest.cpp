#include "cryptography/md5/Digest.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Quoll::Md5
{

namespace
{

static_assert(std::endian::native == std::endian::little);

using State = std::array<std::uint32_t, 4>;

constexpr std::uint32_t Constants[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

constexpr int Rotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// By round, the word that a step takes: (first + factor * step) % 16.
constexpr std::size_t FirstWords[4] = {0, 1, 5, 0};
constexpr std::size_t WordFactors[4] = {1, 5, 3, 7};

// Keeps the compiler from putting sums into another order: what waits for the step before has to come last.
[[gnu::always_inline]] inline void Settle(std::uint32_t& sum) noexcept
{
    asm("" : "+r"(sum));
}

// Each step waits for the b that the step before made, and for nothing else.
template<std::size_t Number>
[[gnu::always_inline]] inline void Step(State& state, const std::uint8_t* block) noexcept
{
    constexpr std::size_t round = Number / 16;
    std::uint32_t& a = state[(64 - Number) % 4];
    const std::uint32_t b = state[(65 - Number) % 4];
    const std::uint32_t c = state[(66 - Number) % 4];
    const std::uint32_t d = state[(67 - Number) % 4];
    std::uint32_t word = 0;
    std::memcpy(&word, block + 4 * ((FirstWords[round] + WordFactors[round] * Number) % 16), sizeof(word));
    a += word + Constants[Number];
    Settle(a);
    if constexpr (round == 0)
    {
        a += d ^ (b & (c ^ d));
    }
    else if constexpr (round == 1)
    {
        // The two halves have no bit in common: their sum is their union, and only one of them has to be waited for.
        a += c & ~d;
        Settle(a);
        a += b & d;
    }
    else if constexpr (round == 2)
    {
        std::uint32_t known = c ^ d;
        Settle(known);
        a += b ^ known;
    }
    else
    {
        a += c ^ (b | ~d);
    }
    a = b + std::rotl(a, Rotations[round][Number % 4]);
}

template<std::size_t... Numbers>
[[gnu::always_inline]] inline void AllSteps(State& state, const std::uint8_t* block,
                                            std::index_sequence<Numbers...>) noexcept
{
    (Step<Numbers>(state, block), ...);
}

void AddBlocks(State& state, const std::uint8_t* blocks, std::size_t count) noexcept
{
    State sums = state;
    for (; count > 0; --count, blocks += 64)
    {
        State next = sums;
        AllSteps(next, blocks, std::make_index_sequence<64>());
        for (std::size_t i = 0; i < sums.size(); ++i)
        {
            sums[i] += next[i];
        }
    }
    state = sums;
}

} // namespace

void Digest::Update(std::span<const std::uint8_t> bytes) noexcept
{
    const std::size_t kept = m_size % BlockSize;
    m_size += bytes.size();
    if (kept != 0)
    {
        const std::size_t filling = std::min(BlockSize - kept, bytes.size());
        std::copy_n(bytes.begin(), filling, m_block.begin() + static_cast<std::ptrdiff_t>(kept));
        bytes = bytes.subspan(filling);
        if (kept + filling < BlockSize)
        {
            return;
        }
        AddBlocks(m_state, m_block.data(), 1);
    }
    AddBlocks(m_state, bytes.data(), bytes.size() / BlockSize);
    const std::span<const std::uint8_t> rest = bytes.last(bytes.size() % BlockSize);
    std::copy(rest.begin(), rest.end(), m_block.begin());
}

std::array<std::uint8_t, 16> Digest::Finish() noexcept
{
    const std::uint64_t bits = m_size * 8;
    constexpr std::uint8_t padding[BlockSize] = {0x80};
    // The count of bits ends a block.
    Update(std::span(padding).first((BlockSize + 55 - m_size % BlockSize) % BlockSize + 1));
    std::array<std::uint8_t, sizeof(bits)> count;
    std::memcpy(count.data(), &bits, sizeof(bits));
    Update(count);

    std::array<std::uint8_t, 16> digest;
    std::memcpy(digest.data(), m_state.data(), digest.size());
    return digest;
}

} // namespace Quoll::Md5
