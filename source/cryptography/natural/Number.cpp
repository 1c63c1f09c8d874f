#include "cryptography/natural/Number.h"

#include <bit>

namespace Quoll::Natural
{

void Trim(Number& number) noexcept
{
    while (!number.empty() && number.back() == 0)
    {
        number.pop_back();
    }
}

std::size_t BitCount(const Number& number) noexcept
{
    return number.empty() ? 0 : number.size() * LimbBits - static_cast<std::size_t>(std::countl_zero(number.back()));
}

int Compare(const Number& a, const Number& b) noexcept
{
    if (a.size() != b.size())
    {
        return a.size() < b.size() ? -1 : 1;
    }
    return CompareRows(a.data(), b.data(), a.size());
}

Number Add(const Number& a, const Number& b)
{
    const Number& longer = a.size() < b.size() ? b : a;
    const Number& shorter = a.size() < b.size() ? a : b;
    Number sum = longer;
    const Limb carry = AddRows(sum.data(), sum.data(), shorter.data(), shorter.size());
    if (AddLimb(sum.data() + shorter.size(), sum.size() - shorter.size(), carry) != 0)
    {
        sum.push_back(1);
    }
    return sum;
}

Number Subtract(const Number& a, const Number& b)
{
    Number difference = a;
    const Limb borrow = SubtractRows(difference.data(), difference.data(), b.data(), b.size());
    SubtractLimb(difference.data() + b.size(), difference.size() - b.size(), borrow);
    Trim(difference);
    return difference;
}

} // namespace Quoll::Natural
