// The one-bit mode by table look-ups, with several blocks under way at once: a block takes the processor far longer
// than its instructions do, since each round waits for the one before.
#include "cryptography/twofish/Kernels.h"
#include "cryptography/twofish/PairEncryptor.h"

namespace Quoll::Twofish
{

namespace
{

[[gnu::always_inline]] inline void Open(const Schedule& schedule, const Window& window, std::size_t place,
                                        Openings& openings) noexcept
{
    const std::array<std::uint32_t, 4> words = window.Words();
    const std::uint32_t a = __builtin_bswap32(words[0]) ^ schedule.subkeys[0];
    const std::uint32_t b = __builtin_bswap32(words[1]) ^ schedule.subkeys[1];
    std::uint32_t c = __builtin_bswap32(words[2]) ^ schedule.subkeys[2];
    std::uint32_t d = __builtin_bswap32(words[3]) ^ schedule.subkeys[3];
    Round(schedule, 0, a, b, c, d);
    openings.a[place] = c;
    openings.b[place] = d;
    openings.c[place] = a;
    openings.d[place] = b;
    openings.left[place] = Substituted(schedule, c);
    openings.right[place] = RightSum(schedule, d);
}

} // namespace

void EncryptWithTables(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    Openings openings;
    const auto open = [&](const Window& known, std::size_t place) {
        Open(schedule, known, place, openings);
    };
    PairEncryptor encryptor(schedule, start, openings, open);
    for (std::uint8_t& byte : data)
    {
        byte = encryptor.Encrypt(byte);
    }
}

void DecryptWithTables(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    Window window = Window::Of(start);
    Openings openings;
    for (std::uint8_t& byte : data)
    {
        // All bits are known: blocks run side by side.
        const unsigned in = byte;
        unsigned key = 0;
        for (unsigned bit = 0; bit < 8; bit += 4)
        {
            for (unsigned i = bit; i < bit + 4; ++i)
            {
                Open(schedule, window.After(i), i, openings);
            }
            const std::array<unsigned, 4> keys =
                Close<4>(schedule, openings, {bit, bit + 1, bit + 2, bit + 3},
                         {in >> (8 - bit), in >> (7 - bit), in >> (6 - bit), in >> (5 - bit)});
            key = 16 * key + 8 * keys[0] + 4 * keys[1] + 2 * keys[2] + keys[3];
        }
        window.Append(8, byte);
        byte = static_cast<std::uint8_t>(in ^ key);
    }
}

} // namespace Quoll::Twofish
