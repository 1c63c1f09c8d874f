// Huge integers by the plain steps on decimal digits, as slow as they are obvious.
//
// Division is for a positive divisor, and for operands without leading zeros where it has to subtract.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace Quoll::Tests
{

struct ReferenceInteger
{
    std::vector<int> digits; // the units first
    std::uint32_t blockSize = 10;
    bool positive = true;

    ReferenceInteger() = default;
    explicit ReferenceInteger(const std::string& text)
        : positive(text.empty() || text[0] != '-')
    {
        for (auto digit = text.rbegin(); digit != text.rend() && *digit != '-'; ++digit)
        {
            digits.push_back(*digit - '0');
        }
    }
    bool operator==(const ReferenceInteger& other) const
    {
        return positive == other.positive && digits == other.digits;
    }
    std::string Text() const
    {
        std::string text(positive || digits.empty() ? "" : "-");
        std::for_each(digits.rbegin(), digits.rend(), [&](int digit) { text += static_cast<char>('0' + digit); });
        return digits.empty() ? "0" : text;
    }
    ReferenceInteger& Strip()
    {
        while (!digits.empty() && digits.back() == 0)
        {
            digits.pop_back();
        }
        return *this;
    }
    int At(std::size_t i) const
    {
        return i < digits.size() ? digits[i] : 0;
    }
    ReferenceInteger Turned() const
    {
        ReferenceInteger turned(*this);
        turned.positive = !positive;
        return turned;
    }
};

using Ref = ReferenceInteger;

// Whether b's magnitude is the greater one.
inline bool IsAbsBigger(const Ref& a, const Ref& b)
{
    if (a.digits.size() != b.digits.size())
    {
        return a.digits.size() < b.digits.size();
    }
    for (std::size_t i = a.digits.size(); i-- > 0;)
    {
        if (a.digits[i] != b.digits[i])
        {
            return a.digits[i] < b.digits[i];
        }
    }
    return false;
}

inline Ref Add(const Ref& a, const Ref& b)
{
    Ref sum;
    sum.blockSize = std::max(a.blockSize, b.blockSize) + 1;
    if (a.digits.empty() && b.digits.empty())
    {
        return sum;
    }
    const bool equal = a.positive == b.positive;
    const bool swapped = !equal && IsAbsBigger(a, b);
    const Ref& first = swapped ? b : a;
    const Ref& second = swapped ? a : b;
    int carry = 0;
    for (std::size_t i = 0; i < std::max(a.digits.size(), b.digits.size()); ++i)
    {
        int digit = first.At(i) + (equal ? second.At(i) : -second.At(i)) + carry;
        carry = digit > 9 ? 1 : digit < 0 ? -1 : 0;
        sum.digits.push_back(digit - 10 * carry);
    }
    if (carry == 1)
    {
        sum.digits.push_back(1);
    }
    sum.positive = swapped ? !a.positive : a.positive;
    return sum.Strip();
}

inline Ref Multiply(const Ref& a, const Ref& b)
{
    Ref product;
    for (std::size_t i = 0; i < a.digits.size(); ++i)
    {
        Ref row;
        row.digits.resize(a.digits.size() + b.digits.size());
        int carry = 0;
        for (std::size_t j = 0; j < b.digits.size(); ++j)
        {
            const int p = b.digits[j] * a.digits[i] + carry;
            carry = p / 10;
            row.digits[i + j] = p - carry * 10;
        }
        row.digits[i + b.digits.size()] += carry;
        product = Add(product, row);
    }
    product.positive = a.positive == b.positive;
    return product;
}

inline Ref DivMod(const Ref& a, const Ref& b, Ref& remainder)
{
    Ref quotient;
    quotient.blockSize = static_cast<std::uint32_t>(a.digits.size());
    if (a.digits.empty() || b.digits.empty())
    {
        return quotient;
    }
    std::size_t left = a.digits.size() - std::min(a.digits.size(), b.digits.size());
    Ref rest;
    rest.digits.assign(a.digits.begin() + static_cast<std::ptrdiff_t>(left), a.digits.end());
    const auto bringDown = [&] {
        rest.digits.insert(rest.digits.begin(), a.digits[--left]);
    };
    const auto count = [&] {
        int q = 0;
        for (; !IsAbsBigger(rest, b); ++q)
        {
            rest = Add(rest, b.Turned());
        }
        quotient.digits.insert(quotient.digits.begin(), q);
    };
    if (IsAbsBigger(rest, b) && left > 0)
    {
        bringDown();
    }
    count();
    while (left > 0)
    {
        bringDown();
        rest.Strip();
        while (IsAbsBigger(rest, b) && left > 0)
        {
            bringDown();
            rest.Strip();
            quotient.digits.insert(quotient.digits.begin(), 0);
        }
        count();
    }
    remainder = rest;
    return quotient.Strip();
}

inline Ref Divide(const Ref& a, const Ref& b)
{
    Ref remainder;
    Ref quotient = DivMod(a, b, remainder);
    quotient.positive = a.positive == b.positive;
    return quotient;
}

inline Ref Remainder(const Ref& a, const Ref& b)
{
    Ref remainder;
    DivMod(a, b, remainder);
    remainder.positive = a.positive;
    return remainder;
}

inline std::vector<unsigned char> ToBinary(Ref number)
{
    std::vector<unsigned char> bits;
    const Ref sixteen("16");
    while (!number.Strip().digits.empty())
    {
        Ref remainder;
        number = DivMod(number, sixteen, remainder);
        const int value = remainder.At(1) * 10 + remainder.At(0);
        for (int bit = 0; bit < 4; ++bit)
        {
            bits.push_back(static_cast<unsigned char>(value >> bit & 1));
        }
    }
    while (!bits.empty() && bits.back() == 0)
    {
        bits.pop_back();
    }
    std::reverse(bits.begin(), bits.end());
    return bits;
}

inline Ref PowMod(const Ref& base, const std::vector<unsigned char>& bits, const Ref& modulus)
{
    Ref result = base;
    for (std::size_t i = 1; i < bits.size(); ++i)
    {
        const Ref square = Multiply(result, result);
        result = Remainder(bits[i] != 0 ? Multiply(square, base) : square, modulus);
    }
    return result;
}

inline Ref Random(unsigned digits)
{
    Ref number;
    for (unsigned i = 1; i < digits; ++i)
    {
        number.digits.push_back(std::rand() % 10);
    }
    number.digits.push_back(std::rand() % 9 + 1);
    return number;
}

// For numbers without leading zeros.
inline bool IsPrime(Ref number)
{
    number.positive = true;
    const Ref one("1");
    if (number == Ref("2") || number == Ref("3"))
    {
        return true;
    }
    if (number == one || number.At(0) % 2 == 0 || number.At(0) == 5)
    {
        return false;
    }
    const Ref above = Add(number, one.Turned());
    const Ref two("2");
    Ref d = Divide(number, two);
    int s = 1;
    for (; d.At(0) % 2 == 0; ++s)
    {
        d = Divide(d, two);
    }
    const auto count = static_cast<unsigned>(number.digits.size());
    for (unsigned round = 1; round < count; ++round)
    {
        Ref witness;
        do
        {
            witness = count < 4 ? Random(1) : Random(static_cast<unsigned>(std::rand()) % (count - 3) + 2);
        } while (!IsAbsBigger(one, witness) || !IsAbsBigger(witness, above));
        Ref x = PowMod(witness, ToBinary(d), number);
        bool passed = x == one || x == above;
        for (int i = 1; i < s && !passed; ++i)
        {
            x = PowMod(x, {1, 0}, number);
            if (x == one)
            {
                return false;
            }
            passed = x == above;
        }
        if (!passed)
        {
            return false;
        }
    }
    return true;
}

// The coefficient of b, for positive numbers.
inline Ref Coefficient(Ref m, Ref n)
{
    Ref c;
    Ref d("1");
    while (true)
    {
        const Ref r = Remainder(m, n);
        if (r.digits.empty())
        {
            return d;
        }
        const Ref next = Add(c, Multiply(d, Divide(m, n).Turned()));
        c = d;
        d = next;
        m = n;
        n = r;
    }
}

// The bytes of a decrypted number; none if it is corrupt.
inline std::optional<std::string> UnpackBytes(Ref m)
{
    std::string bytes;
    const Ref thousand("1000");
    while (m.digits.size() > 3)
    {
        const Ref t = m;
        m = Divide(Ref(m).Strip(), thousand);
        const Ref group = Add(t, Multiply(m, thousand).Turned());
        bytes.insert(bytes.begin(), static_cast<char>(std::stoi(group.Text())));
    }
    return m == Ref("1") ? std::optional(bytes) : std::nullopt;
}

} // namespace Quoll::Tests
