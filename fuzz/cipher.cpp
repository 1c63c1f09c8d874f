// The one-bit mode from bytes that mean anything: all variants beside single blocks, whole and in two pieces, and back.
//
// The first byte says where the text is cut, the second one how long the key is; then come the 16 bytes before the
// text, the key, and the text.
#include "Quoll/AesCipher.h"
#include "cryptography/twofish/Kernels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace
{

using namespace Quoll;
using Bytes = std::vector<std::uint8_t>;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_rest(data, size)
    {
    }
    std::uint8_t Byte()
    {
        const Bytes bytes = Take(1);
        return bytes.empty() ? std::uint8_t{0} : bytes[0];
    }
    Bytes Take(std::size_t most)
    {
        const std::span<const std::uint8_t> taken = m_rest.first(std::min(most, m_rest.size()));
        m_rest = m_rest.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

private:
    std::span<const std::uint8_t> m_rest;
};

// One block for each bit, of the last 128 bits before it.
Bytes Expected(const Twofish::Schedule& schedule, const Twofish::Register& start, const Bytes& text, bool encrypts)
{
    Twofish::Register before = start;
    Bytes result = text;
    for (std::size_t i = 0; i < 8 * text.size(); ++i)
    {
        Twofish::Block block;
        std::memcpy(block.data(), before.data(), sizeof(block));
        const std::uint32_t key = Twofish::Encrypt(schedule, block)[0] & 0x80;
        result[i / 8] ^= static_cast<std::uint8_t>(key >> i % 8);
        const Bytes& fed = encrypts ? result : text;
        std::uint32_t carry = fed[i / 8] >> (7 - i % 8) & 1u;
        for (std::size_t at = before.size(); at-- > 0;)
        {
            const std::uint32_t shifted = before[at] * 2u + carry;
            before[at] = static_cast<std::uint8_t>(shifted);
            carry = shifted >> 8;
        }
    }
    return result;
}

using Run = void (*)(const Twofish::Schedule&, const Twofish::Register&, std::span<std::uint8_t>) noexcept;

// In two pieces; the second one starts behind the encrypted text of the first.
Bytes RunInPieces(Run run, bool encrypts, const Twofish::Schedule& schedule, const Twofish::Register& start,
                  const Bytes& text, std::size_t cut)
{
    Bytes first(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(cut));
    Bytes second(text.begin() + static_cast<std::ptrdiff_t>(cut), text.end());
    run(schedule, start, first);
    Bytes before(start.begin(), start.end());
    const Bytes& encrypted = encrypts ? first : text;
    before.insert(before.end(), encrypted.begin(), encrypted.begin() + static_cast<std::ptrdiff_t>(cut));
    Twofish::Register between;
    std::copy(before.end() - static_cast<std::ptrdiff_t>(between.size()), before.end(), between.begin());
    run(schedule, between, second);
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void CheckKernels(const Bytes& key, const Twofish::Register& start, const Bytes& text, std::size_t cut)
{
    const Twofish::Schedule schedule(key);
    const Bytes encrypted = Expected(schedule, start, text, true);
    const Bytes decrypted = Expected(schedule, start, text, false);
    const auto check = [&](Run encrypt, Run decrypt) {
        Check(RunInPieces(encrypt, true, schedule, start, text, text.size()) == encrypted);
        Check(RunInPieces(decrypt, false, schedule, start, text, text.size()) == decrypted);
        Check(RunInPieces(encrypt, true, schedule, start, text, cut) == encrypted);
        Check(RunInPieces(decrypt, false, schedule, start, text, cut) == decrypted);
        Check(RunInPieces(decrypt, false, schedule, start, encrypted, cut) == text);
    };
    check(Twofish::EncryptBits, Twofish::DecryptBits);
    for (const Twofish::Kernel& kernel : Twofish::Kernels())
    {
        if (schedule.rounds != 0)
        {
            check(kernel.encrypt, kernel.decrypt);
        }
    }
}

// Which keys are taken, and the way back.
void CheckCipher(const Bytes& key, const Bytes& text)
{
    const auto length = std::find(key.begin(), key.end(), 0) - key.begin();
    const bool isTaken = key.size() % 16 == 0 && length <= 32;
    try
    {
        const Utilities::AesCipher cipher(key);
        Check(isTaken);
        Bytes data = text;
        cipher.Encrypt(data);
        Check(data.size() == text.size());
        Utilities::AesCipher(cipher).Decrypt(data);
        Check(data == text);
    }
    catch (const std::invalid_argument&)
    {
        Check(!isTaken);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::size_t cut = input.Byte();
    const std::size_t keySize = input.Byte() % 65;
    Twofish::Register start{};
    const Bytes before = input.Take(start.size());
    std::copy(before.begin(), before.end(), start.begin());
    const Bytes key = input.Take(keySize);
    const Bytes text = input.Take(300);
    CheckKernels({key.begin(), key.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(key.size(), 32))}, start,
                 text, text.empty() ? 0 : cut % (text.size() + 1));
    CheckCipher(key, text);
    return 0;
}
