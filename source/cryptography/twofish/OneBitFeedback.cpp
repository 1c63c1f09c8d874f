#include "cryptography/twofish/OneBitFeedback.h"

#include "cryptography/twofish/Kernels.h"
#include "cryptography/twofish/Round.h"

namespace Quoll::Twofish
{

namespace
{

unsigned KeyBit(const Schedule& schedule, const Register& bytes) noexcept
{
    const Block block = {LoadWord(bytes.data()), LoadWord(bytes.data() + 4), LoadWord(bytes.data() + 8),
                         LoadWord(bytes.data() + 12)};
    return Encrypt(schedule, block)[0] >> 7 & 1;
}

void Shift(Register& bytes, unsigned bit) noexcept
{
    for (std::size_t i = 0; i + 1 < bytes.size(); ++i)
    {
        bytes[i] = static_cast<std::uint8_t>(bytes[i] << 1 | bytes[i + 1] >> 7);
    }
    bytes.back() = static_cast<std::uint8_t>(unsigned{bytes.back()} << 1 | bit);
}

// The mode as it is told: bit by bit. It is the oracle of the other variants.
template<bool Encrypts>
void RunPlain(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    Register bytes = start;
    for (std::uint8_t& byte : data)
    {
        for (unsigned place = 8; place-- > 0;)
        {
            const unsigned in = byte >> place & 1u;
            const unsigned key = KeyBit(schedule, bytes);
            byte = static_cast<std::uint8_t>(byte ^ key << place);
            Shift(bytes, Encrypts ? in ^ key : in);
        }
    }
}

constexpr Kernel Plain = {"plain", RunPlain<true>, RunPlain<false>};
constexpr Kernel Tables = {"tables", EncryptWithTables, DecryptWithTables};

// The variant in use.
const Kernel& BestFor(const Schedule& schedule) noexcept
{
    static const Kernel* const vectors = VbmiKernel();
    return schedule.rounds == 0 ? Plain : vectors != nullptr ? *vectors : Tables;
}

} // namespace

std::vector<Kernel> Kernels()
{
    std::vector<Kernel> kernels = {Plain, Tables};
    if (const Kernel* const vectors = VbmiKernel())
    {
        kernels.push_back(*vectors);
    }
    return kernels;
}

void EncryptBits(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    BestFor(schedule).encrypt(schedule, start, data);
}

void DecryptBits(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    BestFor(schedule).decrypt(schedule, start, data);
}

} // namespace Quoll::Twofish
