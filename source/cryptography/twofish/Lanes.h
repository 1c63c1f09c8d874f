// Blocks of the one-bit mode side by side, from what is known of them beforehand to their first bits.
//
// The last seven bits that a block is made of stand in one byte of its fourth word, also when that is rotated in the
// first round. So a block can be opened seven bits before its turn: all of the first round, and of the second all but
// one look-up.
#pragma once

#include "cryptography/twofish/OneBitFeedback.h"
#include "cryptography/twofish/Round.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Quoll::Twofish
{

// The first bit of a block is known behind it: the round after it only changes the other half.
constexpr unsigned LastRound = 14;

// What is known of blocks before the last bits of their windows are, in a ring.
struct Openings
{
    static constexpr std::size_t Size = 32;

    alignas(64) std::array<std::uint32_t, Size> a;
    std::array<std::uint32_t, Size> b;
    std::array<std::uint32_t, Size> c;
    std::array<std::uint32_t, Size> d;
    std::array<std::uint32_t, Size> left;  // of the second round's two sums
    std::array<std::uint32_t, Size> right; // the same, but for one look-up
};

// The second round's right sum without the look-up that waits for the last bits.
[[gnu::always_inline]] inline std::uint32_t RightSum(const Schedule& schedule, std::uint32_t b) noexcept
{
    return schedule.tables[1][b & 0xFF] ^ schedule.tables[2][b >> 8 & 0xFF] ^ schedule.tables[3][b >> 16 & 0xFF];
}

// The blocks' first bits. `last` holds each one's last bits, seven at the most.
template<std::size_t Count>
[[gnu::always_inline]] inline std::array<unsigned, Count> Close(const Schedule& schedule, const Openings& openings,
                                                                const std::array<std::size_t, Count>& places,
                                                                const std::array<unsigned, Count>& last) noexcept
{
    std::array<Block, Count> blocks;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Count; ++i)
    {
        const std::size_t at = places[i];
        const std::uint32_t b = openings.b[at] ^ last[i] << 25;
        const std::uint32_t right = openings.right[at] ^ schedule.tables[0][b >> 24];
        blocks[i] = {openings.c[at], openings.d[at], openings.a[at], b};
        Join(schedule, 1, openings.left[at], right, blocks[i][0], blocks[i][1]);
    }
    for (unsigned round = 2; round < LastRound; round += 2)
    {
#pragma GCC unroll 8
        for (Block& block : blocks)
        {
            Round(schedule, round, block[0], block[1], block[2], block[3]);
        }
#pragma GCC unroll 8
        for (Block& block : blocks)
        {
            Round(schedule, round + 1, block[2], block[3], block[0], block[1]);
        }
    }
    std::array<unsigned, Count> bits;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Count; ++i)
    {
        const Block& block = blocks[i];
        const std::uint32_t sum = Substituted(schedule, block[0]) + SubstitutedRotated(schedule, block[1]);
        // Bit 8 becomes bit 7 by the round's rotation.
        const std::uint32_t word = block[2] ^ (sum + schedule.subkeys[8 + 2 * LastRound]);
        bits[i] = (word >> 8 ^ schedule.subkeys[4] >> 7) & 1;
    }
    return bits;
}

// The last 128 bits of a stream.
struct Window
{
    std::uint64_t high;
    std::uint64_t low;

    static Window Of(const Register& bytes) noexcept
    {
        Window window{};
        std::memcpy(&window, bytes.data(), sizeof(window));
        return {__builtin_bswap64(window.high), __builtin_bswap64(window.low)};
    }
    // What is left of it after some more bits, fewer than 64, with zeros in their place.
    Window After(unsigned bits) const noexcept
    {
        return bits == 0 ? *this : Window{high << bits | low >> (64 - bits), low << bits};
    }
    void Append(unsigned count, unsigned bits) noexcept
    {
        *this = After(count);
        low |= bits;
    }
};

// Encrypts a stream two bits at a time. The block of the second is made beside that of the first, for both values that
// the first may get: that gives two bits in little more than the time of one block.
//
// `open` opens the block at a place of the ring, six and seven bits ahead, so that none is waited for. What isn't known
// of its window yet is 0.
template<typename Open>
class PairEncryptor
{
public:
    PairEncryptor(const Schedule& schedule, const Register& start, Openings& openings, const Open& open) noexcept
        : m_schedule(schedule)
        , m_openings(openings)
        , m_open(open)
        , m_window(Window::Of(start))
    {
        for (unsigned place = 0; place < BitsAhead; ++place)
        {
            Window known = m_window.After(place);
            known.low &= ~UnknownBits << place % 2;
            m_open(known, place);
        }
    }

    const Window& Last() const noexcept
    {
        return m_window;
    }

    [[gnu::always_inline]] std::uint8_t Encrypt(std::uint8_t byte) noexcept
    {
        for (unsigned bit = 0; bit < 8; bit += 2)
        {
            for (unsigned ahead = BitsAhead; ahead < BitsAhead + 2; ++ahead)
            {
                m_open(m_window.After(ahead), (m_place + ahead) % Openings::Size);
            }
            const unsigned last = m_window.low & UnknownBits;
            const std::array<unsigned, 3> keys =
                Close<3>(m_schedule, m_openings, {m_place, m_place + 1, m_place + 1}, {last, 2 * last, 2 * last + 1});
            const unsigned first = (byte >> (7 - bit) & 1u) ^ keys[0];
            // No branch: it would be mistaken every other time.
            const unsigned second = (byte >> (6 - bit) & 1u) ^ ((keys[1] & ~first) | (keys[2] & first));
            m_window.Append(2, 2 * first + second);
            m_place = (m_place + 2) % Openings::Size;
        }
        return static_cast<std::uint8_t>(m_window.low);
    }

private:
    static constexpr unsigned BitsAhead = 6;
    static constexpr std::uint64_t UnknownBits = (1u << BitsAhead) - 1;

    const Schedule& m_schedule;
    Openings& m_openings;
    const Open& m_open;
    Window m_window;
    std::size_t m_place = 0;
};

} // namespace Quoll::Twofish
