// The one-bit mode by table look-ups, with several blocks under way at once.
//
// A block takes the processor far longer than its instructions do, since each round waits for the one before.
// - Of all that a byte's eight blocks are made of, only the bits of that byte itself are unknown beforehand, and
//   they stand in one byte of the fourth word. So the first round is done for all eight at once, and of the
//   second all but one look-up.
// - Encryption makes the block of the next bit beside the current one, for both values that the bit between them
//   may have, and so gets two bits in the time of one block.
// - In decryption all bits are known: its blocks run side by side.
// - The first bit of a block is known after 15 rounds: the last one only changes the other half.
#include "cryptography/twofish/Kernels.h"
#include "cryptography/twofish/Round.h"

namespace Quoll::Twofish
{

namespace
{

constexpr unsigned LastRound = 14;

// The first 128 bits of a longer run.
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
    // What is left of it, with zeros behind.
    Window From(unsigned bit) const noexcept
    {
        return bit == 0 ? *this : Window{high << bit | low >> (64 - bit), low << bit};
    }
    void Append(std::uint8_t byte) noexcept
    {
        *this = From(8);
        low |= byte;
    }
};

// What is known of a block before the last bits of its window are.
struct Opening
{
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t c;
    std::uint32_t d;
    std::uint32_t left;  // of the second round's two sums
    std::uint32_t right; // the same, but for one look-up
};

[[gnu::always_inline]] inline Opening Open(const Schedule& schedule, const Window& window) noexcept
{
    const std::uint32_t a = __builtin_bswap32(static_cast<std::uint32_t>(window.high >> 32)) ^ schedule.subkeys[0];
    const std::uint32_t b = __builtin_bswap32(static_cast<std::uint32_t>(window.high)) ^ schedule.subkeys[1];
    std::uint32_t c = __builtin_bswap32(static_cast<std::uint32_t>(window.low >> 32)) ^ schedule.subkeys[2];
    std::uint32_t d = __builtin_bswap32(static_cast<std::uint32_t>(window.low)) ^ schedule.subkeys[3];
    Round(schedule, 0, a, b, c, d);
    const std::uint32_t right =
        schedule.tables[1][d & 0xFF] ^ schedule.tables[2][d >> 8 & 0xFF] ^ schedule.tables[3][d >> 16 & 0xFF];
    return {c, d, a, b, Substituted(schedule, c), right};
}

// The blocks' first bits. `last` holds each one's last bits, seven at the most.
template<std::size_t Count>
[[gnu::always_inline]] inline std::array<unsigned, Count> Close(const Schedule& schedule,
                                                                const std::array<const Opening*, Count>& openings,
                                                                const std::array<unsigned, Count>& last) noexcept
{
    std::array<Block, Count> blocks;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Count; ++i)
    {
        const Opening& opening = *openings[i];
        const std::uint32_t b = opening.b ^ last[i] << 25;
        blocks[i] = {opening.c, opening.d, opening.a, b};
        Join(schedule, 1, opening.left, opening.right ^ schedule.tables[0][b >> 24], blocks[i][0], blocks[i][1]);
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

using Openings = std::array<Opening, 8>;

[[gnu::noinline]] void OpenAll(const Schedule& schedule, const Window& window, Openings& openings) noexcept
{
    for (unsigned bit = 0; bit < 8; ++bit)
    {
        openings[bit] = Open(schedule, window.From(bit));
    }
}

} // namespace

void EncryptWithTables(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    Window window = Window::Of(start);
    Openings openings;
    for (std::uint8_t& byte : data)
    {
        OpenAll(schedule, window, openings);
        unsigned out = 0;
        for (unsigned bit = 0; bit < 8; bit += 2)
        {
            const Opening& next = openings[bit + 1];
            const std::array<unsigned, 3> keys =
                Close<3>(schedule, {&openings[bit], &next, &next}, {out, 2 * out, 2 * out + 1});
            const unsigned first = (byte >> (7 - bit) & 1u) ^ keys[0];
            // No branch: it would be mistaken every other time.
            const unsigned second = (byte >> (6 - bit) & 1u) ^ ((keys[1] & ~first) | (keys[2] & first));
            out = 4 * out + 2 * first + second;
        }
        byte = static_cast<std::uint8_t>(out);
        window.Append(byte);
    }
}

void DecryptWithTables(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    Window window = Window::Of(start);
    Openings openings;
    for (std::uint8_t& byte : data)
    {
        OpenAll(schedule, window, openings);
        const unsigned in = byte;
        unsigned key = 0;
        for (unsigned bit = 0; bit < 8; bit += 4)
        {
            const Opening* const from = &openings[bit];
            const std::array<unsigned, 4> keys =
                Close<4>(schedule, {from, from + 1, from + 2, from + 3},
                         {in >> (8 - bit), in >> (7 - bit), in >> (6 - bit), in >> (5 - bit)});
            key = 16 * key + 8 * keys[0] + 4 * keys[1] + 2 * keys[2] + keys[3];
        }
        window.Append(byte);
        byte = static_cast<std::uint8_t>(in ^ key);
    }
}

} // namespace Quoll::Twofish
