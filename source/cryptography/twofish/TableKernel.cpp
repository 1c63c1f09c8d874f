// The one-bit mode by table look-ups, with several blocks under way at once: a block takes the processor far longer
// than its instructions do, since each round waits for the one before.
#include "cryptography/twofish/Kernels.h"
#include "cryptography/twofish/Lanes.h"

namespace Quoll::Twofish
{

namespace
{

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

[[gnu::always_inline]] inline Opening Open(const Schedule& schedule, const Window& window) noexcept
{
    const std::uint32_t a = __builtin_bswap32(static_cast<std::uint32_t>(window.high >> 32)) ^ schedule.subkeys[0];
    const std::uint32_t b = __builtin_bswap32(static_cast<std::uint32_t>(window.high)) ^ schedule.subkeys[1];
    std::uint32_t c = __builtin_bswap32(static_cast<std::uint32_t>(window.low >> 32)) ^ schedule.subkeys[2];
    std::uint32_t d = __builtin_bswap32(static_cast<std::uint32_t>(window.low)) ^ schedule.subkeys[3];
    Round(schedule, 0, a, b, c, d);
    return {c, d, a, b, Substituted(schedule, c), RightSum(schedule, d)};
}

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
        byte = EncryptByte(schedule, openings, byte);
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
        // All bits are known: blocks run side by side.
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
