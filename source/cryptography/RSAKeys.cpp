// Key pairs.
#include "Quoll/RSACrypt.h"
#include "cryptography/HugeIntegerAccess.h"
#include "cryptography/HugeIntegerDivision.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

using Natural::Number;

// A coefficient of Euclid's, with the block size that its sum would have.
struct Coefficient
{
    Number magnitude;
    std::uint32_t blockSize = DefaultBlockSize;
    bool isPositive = true;
};

// before - current * quotient. Signs alternate, so that magnitudes add up; a zero is positive.
Coefficient Next(const Coefficient& before, const Coefficient& current, const Number& quotient)
{
    Coefficient next;
    next.magnitude = Natural::Add(before.magnitude, Natural::Multiply(current.magnitude, quotient));
    next.blockSize = std::max(before.blockSize,
                              static_cast<std::uint32_t>(DefaultBlockSize + Natural::DigitCount(current.magnitude))) +
                     1;
    next.isPositive = next.magnitude.empty() || (current.magnitude.empty() ? before.isPositive : !current.isPositive);
    return next;
}

// Goes on from two coefficients with plain numbers, the second of which isn't zero.
Coefficient LastCoefficient(Coefficient before, Coefficient current, Number m, Number n)
{
    while (true)
    {
        Natural::Division parts = Natural::Divide(m, n);
        if (parts.remainder.empty())
        {
            return current;
        }
        Coefficient next = Next(before, current, parts.quotient);
        before = std::move(current);
        current = std::move(next);
        m = std::move(n);
        n = std::move(parts.remainder);
    }
}

Coefficient TakeCoefficient(const HugeInteger& number)
{
    return {HugeIntegerAccess::Magnitude(number), HugeIntegerAccess::BlockSize(number),
            HugeIntegerAccess::IsPositive(number)};
}

HugeInteger One()
{
    HugeInteger one;
    one = 1;
    return one;
}

} // namespace

void RSACrypt::extEuclid(const HugeInteger& a, const HugeInteger& b, HugeInteger& result)
{
    HugeInteger before;
    HugeInteger current = One();
    HugeInteger m(a);
    HugeInteger n(b);
    while (n > 0)
    {
        if (IsPlain(m) && IsPlain(n) && n.size() > 0)
        {
            const Coefficient last = LastCoefficient(TakeCoefficient(before), TakeCoefficient(current),
                                                     HugeIntegerAccess::Magnitude(m), HugeIntegerAccess::Magnitude(n));
            result = HugeIntegerAccess::Make(Natural::ToDigits(last.magnitude), last.blockSize, last.isPositive);
            return;
        }
        HugeInteger rest = m % n;
        if (rest == 0)
        {
            break;
        }
        const HugeInteger next = before + current * (m / n * -1);
        before = current;
        current = next;
        m = n;
        n = rest;
    }
    result = current;
}

void RSACrypt::genKeys(std::shared_ptr<RSACryptKey>& publicKey, std::shared_ptr<RSACryptKey>& privateKey,
                       unsigned int size)
{
    constexpr unsigned int leastSize = 4;
    if (size < leastSize)
    {
        throw std::invalid_argument("a key needs four digits");
    }
    const unsigned int half = size / 2;
    HugeInteger p(half);
    HugeInteger q(half);
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    for (HugeInteger* prime : {&p, &q})
    {
        while (!prime->IsPrime())
        {
            prime->random(half);
        }
    }
    HugeInteger phi = (p - 1) * (q - 1);
    auto open = std::make_shared<RSACryptKey>(RSACryptKey{HugeInteger(), p * q});
    auto secret = std::make_shared<RSACryptKey>(RSACryptKey{HugeInteger(), open->modulus});
    do
    {
        do
        {
            open->exponent.random(size - 3);
        } while (open->exponent.getMaxDiviser(phi) != 1);
        extEuclid(phi, open->exponent, secret->exponent);
    } while (secret->exponent < 0);
    publicKey = std::move(open);
    privateKey = std::move(secret);
}

} // namespace Quoll::Utilities
