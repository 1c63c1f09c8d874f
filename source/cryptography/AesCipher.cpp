#include "Quoll/AesCipher.h"

#include "cryptography/Wipe.h"
#include "cryptography/twofish/OneBitFeedback.h"

#include <algorithm>
#include <span>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

using KeyBytes = std::span<const std::uint8_t>;

constexpr std::size_t MostBytes = 32;

// The text C7D19E40B2A6583F01E4.
constexpr std::uint8_t DefaultKey[] = {0xC7, 0xD1, 0x9E, 0x40, 0xB2, 0xA6, 0x58, 0x3F, 0x01, 0xE4};

KeyBytes CheckedKey(const std::vector<std::uint8_t>& key)
{
    const auto length = static_cast<std::size_t>(std::find(key.begin(), key.end(), 0) - key.begin());
    if (length > MostBytes)
    {
        throw std::invalid_argument("Key size should be 16.");
    }
    return length == 0 ? KeyBytes(DefaultKey) : KeyBytes(key).first(length);
}

// The characters of the key's text, not the bytes that they stand for.
Twofish::Register StartOf(KeyBytes key) noexcept
{
    constexpr char digits[] = "0123456789ABCDEF";
    Twofish::Register start{};
    for (std::size_t i = 0; i < std::min(key.size(), start.size() / 2); ++i)
    {
        start[2 * i] = static_cast<std::uint8_t>(digits[key[i] >> 4]);
        start[2 * i + 1] = static_cast<std::uint8_t>(digits[key[i] & 15]);
    }
    return start;
}

std::vector<std::uint8_t> CopyOf(const std::vector<std::uint8_t>& key)
{
    if (key.size() % 16 != 0)
    {
        throw std::invalid_argument("Key size should be modulo 16.");
    }
    std::vector<std::uint8_t> copy;
    copy.reserve(key.size() + 1);
    copy.assign(key.begin(), key.end());
    copy.push_back(0);
    return copy;
}

} // namespace

struct AesCipher::Context
{
    explicit Context(KeyBytes key) noexcept
        : schedule(key)
        , start(StartOf(key))
    {
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context()
    {
        Wipe(&start, sizeof(start));
    }

    const Twofish::Schedule schedule;
    Twofish::Register start;
};

AesCipher::AesCipher(const std::vector<std::uint8_t>& key)
    : m_key(CopyOf(key))
{
    try
    {
        m_context = std::make_shared<const Context>(CheckedKey(m_key));
    }
    catch (...)
    {
        Wipe(m_key.data(), m_key.size());
        throw;
    }
}

AesCipher::AesCipher(const AesCipher& other) = default;

AesCipher& AesCipher::operator=(const AesCipher& other)
{
    if (this != &other)
    {
        std::vector<std::uint8_t> key = other.m_key;
        m_key.swap(key);
        m_context = other.m_context;
        Wipe(key.data(), key.size());
    }
    return *this;
}

AesCipher::~AesCipher()
{
    Wipe(m_key.data(), m_key.size());
}

void AesCipher::Encrypt(std::vector<std::uint8_t>& data) const noexcept
{
    Twofish::EncryptBits(m_context->schedule, m_context->start, data);
}

void AesCipher::Decrypt(std::vector<std::uint8_t>& data) const noexcept
{
    Twofish::DecryptBits(m_context->schedule, m_context->start, data);
}

} // namespace Quoll::Utilities
