// Decryption.
#include "Quoll/RSACrypt.h"

#include "cryptography/HugeIntegerAccess.h"
#include "cryptography/HugeIntegerDivision.h"
#include "cryptography/natural/BitList.h"
#include "cryptography/natural/Power.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

using Natural::Digits;
using Natural::Number;
using Bytes = std::vector<unsigned char>;
using Access = HugeIntegerAccess;

constexpr std::size_t GroupDigits = 3;
constexpr unsigned int NoPosition = ~0U;

[[noreturn]] void ThrowCorrupted()
{
    throw RsaError("input data corrupted");
}

// The bytes of a decrypted number. Leading zeros count as digits where that decides whether there is a group to take,
// and go with the first one.
Bytes Unpack(const Digits& digits)
{
    const bool hasGroup = digits.size() > GroupDigits;
    std::size_t count = digits.size();
    while (hasGroup && count > 0 && digits[count - 1] == 0)
    {
        --count;
    }
    if (hasGroup != (count > GroupDigits) || count % GroupDigits != 1 || digits[count - 1] != 1)
    {
        ThrowCorrupted();
    }
    Bytes bytes;
    bytes.reserve(count / GroupDigits);
    for (std::size_t at = count - 1; at > 0; at -= GroupDigits)
    {
        bytes.push_back(static_cast<unsigned char>(100 * digits[at - 1] + 10 * digits[at - 2] + digits[at - 3]));
    }
    return bytes;
}

// What a key gives for every block.
class Decryption
{
public:
    explicit Decryption(const RSACryptKey& key)
        : m_bits(Natural::BitList(Access::Magnitude(key.exponent)))
        , m_modulus(Access::Magnitude(key.modulus))
        , m_isModulusPositive(Access::IsPositive(key.modulus))
    {
    }

    Bytes Decrypt(const HugeInteger& block)
    {
        const Digits& digits = Access::Digits(block);
        const bool isOddPower = m_bits.size() < 2 || m_bits.back() == 1;
        Digits plain = m_bits.size() < 2 ? digits : Raise(digits);
        if (isOddPower && !Access::IsPositive(block))
        {
            ThrowCorrupted();
        }
        return Unpack(plain);
    }

    std::string DecryptText(const std::string& text, unsigned int size)
    {
        std::string result;
        HugeInteger block(2 * size);
        for (unsigned int position = 0; position != NoPosition;)
        {
            if (!block.getFromString(text, position))
            {
                ThrowCorrupted();
            }
            const Bytes bytes = Decrypt(block);
            result.append(bytes.begin(), bytes.end());
        }
        return result;
    }

private:
    Digits Raise(const Digits& digits)
    {
        if (m_modulus.empty())
        {
            ThrowRemainderOfZero();
        }
        const bool isZero = std::all_of(digits.begin(), digits.end(), [](std::int16_t digit) { return digit == 0; });
        if (isZero)
        {
            return {};
        }
        if (!m_isModulusPositive)
        {
            ThrowNegativeDivisor();
        }
        if (!m_power)
        {
            m_power.emplace(m_modulus);
        }
        return Natural::ToDigits((*m_power)(Natural::RemainderOfDigits(digits, m_modulus), m_bits));
    }

    std::vector<unsigned char> m_bits;
    Number m_modulus;
    bool m_isModulusPositive;
    std::optional<Natural::PowerModulo> m_power; // made when a block needs it
};

unsigned long ReadLength(const std::string& text)
{
    try
    {
        return std::stoul(text);
    }
    catch (const std::invalid_argument&)
    {
        throw std::invalid_argument("invalid stoul argument");
    }
}

} // namespace

std::vector<unsigned char> RSACrypt::decrypt(const HugeInteger& block, const RSACryptKey& key)
{
    return Decryption(key).Decrypt(block);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::string RSACrypt::DecryptString(std::string text, RSACryptKey& key, unsigned int size)
{
    return Decryption(key).DecryptText(text, size);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::string RSACrypt::DecryptLongString(std::string text, RSACryptKey& key, unsigned int size)
{
    constexpr std::size_t header = 3;
    constexpr unsigned long offset = 100;
    Decryption decryption(key);
    std::string result;
    for (std::size_t position = 0; text.size() > position + header;)
    {
        const unsigned long length = ReadLength(text.substr(position, header));
        if (length <= offset)
        {
            break;
        }
        const std::string segment = text.substr(position + header, length - offset);
        result += decryption.DecryptText(segment, size);
        position += header + segment.size();
    }
    return result;
}

} // namespace Quoll::Utilities
