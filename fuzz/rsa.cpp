// Huge integers and the decryption of text beside plain steps on digits.
//
// The first byte says what is done, the second one a size; then come fields that end at a "/".
#include "Quoll/RSACrypt.h"
#include "support/ReferenceInteger.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>

namespace
{

using namespace Quoll::Tests;
using Quoll::Utilities::HugeInteger;
using Quoll::Utilities::MathError;
using Quoll::Utilities::RSACrypt;
using Quoll::Utilities::RSACryptKey;
using Quoll::Utilities::RsaError;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

// What is asked for, field by field.
class Request
{
public:
    Request(const std::uint8_t* data, std::size_t size)
        : m_text(data, data + size)
    {
    }
    unsigned Byte()
    {
        const unsigned byte = m_text.empty() ? 0 : static_cast<unsigned char>(m_text[0]);
        m_text.erase(0, 1);
        return byte;
    }
    std::string Field(std::size_t most)
    {
        const std::size_t end = std::min(m_text.find('/'), m_text.size());
        std::string field = m_text.substr(0, std::min(end, most));
        m_text.erase(0, end + 1);
        return field;
    }
    // Any byte is a digit; a "-" in front is the sign.
    Ref Integer(std::size_t most)
    {
        std::string text = Field(most);
        for (std::size_t i = text.starts_with('-') ? 1 : 0; i < text.size(); ++i)
        {
            text[i] = static_cast<char>('0' + static_cast<unsigned char>(text[i] + 2) % 10);
        }
        return Ref(text);
    }

private:
    std::string m_text;
};

HugeInteger Made(const Ref& number)
{
    HugeInteger made;
    made = number.positive ? 0 : -1;
    if (!number.digits.empty())
    {
        const std::string text = number.Text();
        made.FromString(text.substr(text[0] == '-' ? 1 : 0));
    }
    else if (!number.positive)
    {
        made += Made(Ref("1"));
    }
    return made;
}

void CheckSame(HugeInteger number, const Ref& expected)
{
    Check(number == Made(expected) && number.ToString() == expected.Text());
}

void CheckArithmetic(const Ref& a, const Ref& b)
{
    CheckSame(Made(a) + Made(b), Add(a, b));
    CheckSame(Made(a) - Made(b), Add(a, b.Turned()));
    CheckSame(Made(a) * Made(b), Multiply(a, b));
    Check(Made(a).toBinary() == ToBinary(a));
}

void CheckDivision(Ref a, Ref b)
{
    a.Strip();
    b.Strip();
    b.positive = true;
    try
    {
        CheckSame(Made(a) / Made(b), Divide(a, b));
        CheckSame(Made(a) % Made(b), Remainder(a, b));
        Check(!b.digits.empty());
    }
    catch (const MathError&)
    {
        Check(b.digits.empty());
    }
}

void CheckDecryption(const Ref& exponent, const Ref& modulus, const std::string& text, unsigned size)
{
    std::optional<std::string> expected = std::string();
    const std::vector<unsigned char> bits = ToBinary(exponent);
    for (std::size_t at = 0; expected && (at == 0 || at < text.size()); at += 2UL * size)
    {
        const std::string block = text.substr(at, 2UL * size);
        const bool isNumber = !block.empty() && block.find_first_not_of("0123456789") == std::string::npos;
        const Ref power = bits.size() < 2 || !isNumber ? Ref(block) : PowMod(Ref(block), bits, modulus);
        const auto bytes = isNumber ? UnpackBytes(power) : std::nullopt;
        expected = bytes ? std::optional(*expected + *bytes) : std::nullopt;
    }
    RSACryptKey key{Made(exponent), Made(modulus)};
    try
    {
        Check(RSACrypt::DecryptString(text, key, size) == expected);
    }
    catch (const RsaError&)
    {
        Check(!expected);
    }
}

// Ends, in whatever way.
void DecryptLong(const Ref& exponent, const Ref& modulus, const std::string& text, unsigned size)
{
    RSACryptKey key{Made(exponent), Made(modulus)};
    try
    {
        RSACrypt::DecryptLongString(text, key, size);
    }
    catch (const RsaError&)
    {
        return;
    }
    catch (const MathError&)
    {
        return;
    }
    catch (const std::invalid_argument&)
    {
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Request request(data, size);
    const unsigned what = request.Byte() % 4;
    const unsigned blocks = request.Byte() % 16 + 1;
    const std::size_t most = what < 2 ? 120 : what == 2 ? 24 : 200;
    Ref a = request.Integer(most);
    Ref b = request.Integer(most);
    switch (what)
    {
    case 0:
        CheckArithmetic(a, b);
        break;
    case 1:
        CheckDivision(a, b);
        break;
    case 2:
        b.Strip().positive = true;
        a.digits.resize(std::min<std::size_t>(a.digits.size(), 6));
        CheckDecryption(a, b.digits.empty() ? Ref("1") : b, request.Field(80), blocks);
        break;
    default:
        DecryptLong(a, b, request.Field(3000), blocks);
        break;
    }
    return 0;
}
