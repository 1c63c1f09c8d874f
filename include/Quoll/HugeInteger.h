/// @file
/// Signed integers of any size in decimal digits.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Errors.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Quoll::Utilities
{

struct HugeIntegerAccess; // the library's own

/// A signed integer of any size, held as decimal digits. RSACrypt is what it is made for.
///
/// A plain value without a lock. Operators give their results by value, assignments a copy of the object, and none of
/// them but size() is const. Nothing throws but std::bad_alloc, or std::length_error for more digits than a vector can
/// have, unless said otherwise.
///
/// **Zeros.** Zero has no digits. Its sign is not normalised: `(-5) + 5` and `-5 * 0` are negative zeros, which print
/// as "0" but differ from zero in comparisons.
///
/// **Leading zeros.** Digits from a text keep their leading zeros, which count in size() and in comparisons, for these
/// look at the number of digits first: "007" is greater than 8. Sums, products and quotients have none. In a sum of
/// different signs the operand with more digits counts as the greater one, and a borrow beyond its top is lost:
/// "007" - 8 is 999. Products, powers, divisions, bits and greatest common divisors go by the operands' values.
///
/// **Block size.** The width that getFromString cuts from a text has no part in the arithmetic, but results have it:
/// a sum the operands' greater one plus 1, a product 10 plus its left operand's number of digits, a quotient its
/// dividend's number of digits. A remainder has 10 if it is what stood there, or else, as if the divisor had been
/// subtracted for each unit of each of the quotient's digits, the sum of these digits plus the greater of 10 and the
/// divisor's block size. Sums of 32 bits wrap.
///
/// **Time.** Sums and comparisons take time in proportion to the digits; products, quotients and the conversions around
/// them little more than that of a product of such length, which is well below quadratic; a power takes that for each
/// bit of the exponent, a greatest common divisor quadratic time.
class QUOLL_API HugeInteger
{
public:
    /// Zero with a block size of 10.
    HugeInteger();

    /// Zero with the block size given; the argument is no value.
    explicit HugeInteger(unsigned int size);

    /// A full copy.
    HugeInteger(const HugeInteger& other);

    // An assignment gives a copy, not a reference, as all the operators do.
    // NOLINTBEGIN(misc-unconventional-assign-operator)

    /// Takes digits, block size and sign.
    HugeInteger operator=(const HugeInteger& other);

    /// Takes the value; the block size stays. The smallest `int` can't be taken: the digits stay as they are, the sign
    /// becomes negative all the same.
    HugeInteger operator=(int value);

    // NOLINTEND(misc-unconventional-assign-operator)

    /// Whether sign, number of digits and digits are equal.
    bool operator==(const HugeInteger& other);
    /// Compares with a number that takes the value by assignment.
    bool operator==(int value);
    /// Whether sign, number of digits or a digit differs.
    bool operator!=(const HugeInteger& other);
    /// Compares with a number that takes the value by assignment.
    bool operator!=(int value);

    /// Whether this number is less: by the sign, then by the number of digits, then by the digits.
    bool operator<(const HugeInteger& other);
    /// Whether this number is less than **zero**, whatever the argument: `x < 1000` is false for 5.
    bool operator<(int size);
    /// Whether this number is greater. Of two numbers of the same sign that have no digits each is "greater" than the
    /// other: `zero > zero` is true.
    bool operator>(const HugeInteger& other);
    /// Compares with a number that takes the value by assignment: `zero > 0` is true.
    bool operator>(int value);

    /// The sum. Two numbers of different signs that cancel out give a zero with this one's sign.
    HugeInteger operator+(const HugeInteger& other);
    /// Adds a number that takes the value by assignment.
    HugeInteger operator+(int value);
    /// The sum with the other number's sign turned.
    HugeInteger operator-(const HugeInteger& other);
    /// Subtracts a number that takes the value by assignment.
    HugeInteger operator-(int value);
    /// The product, which is positive if both signs are equal, and negative otherwise, a zero as well.
    HugeInteger operator*(const HugeInteger& other);
    /// Multiplies with a number that takes the value by assignment.
    HugeInteger operator*(int value);

    /// The quotient, rounded towards zero; negative if exactly one operand is negative, a zero as well.
    /// @throws MathError  "division by zero": the divisor is zero
    /// @throws std::invalid_argument  "division by a negative number": the divisor is below zero and the dividend isn't
    ///                                zero
    HugeInteger operator/(const HugeInteger& divisor);
    /// Divides by a number that takes the value by assignment; throws as the other.
    HugeInteger operator/(int value);

    /// The remainder of the magnitudes with this number's sign. A dividend that is less and doesn't have more digits
    /// than the divisor stays as it is, leading zeros included.
    /// @throws MathError  "remainder of division by zero": the divisor is zero
    /// @throws std::invalid_argument  as for the quotient
    HugeInteger operator%(const HugeInteger& divisor);
    /// Divides by a number that takes the value by assignment; throws as the other.
    HugeInteger operator%(int value);

    /// Adds in place.
    HugeInteger operator+=(const HugeInteger& other);
    /// Subtracts in place.
    HugeInteger operator-=(int value);

    /// Takes the digits of a text; sign and block size stay. False, and nothing changes, if the text is empty or has
    /// anything but the digits 0 to 9, a sign among them. Leading zeros are kept.
    // NOLINTNEXTLINE(performance-unnecessary-value-param)
    bool FromString(std::string text);

    /// Takes the digits of the next block of a text: as FromString with at most as many characters as the block size
    /// from `position` on.
    ///
    /// `position` goes on to the next block, or to 4294967295 if there is none, which is also where it stays.
    /// @return what FromString says; false if `position` is 4294967295 or not in the text
    /// @throws std::length_error  the text has more than 4294967295 characters
    bool getFromString(const std::string& text, unsigned int& position);

    /// All digits, with "-" in front if the number is negative; "0" if there are none.
    std::string ToString();

    /// Whether the number is probably prime, a test in the manner of Miller and Rabin with one witness less than there
    /// are digits. The sign doesn't count.
    ///
    /// Of numbers of one digit 2, 3, 7 and 9 are "prime"; 5 isn't. Witnesses come from the C library's `rand`, so that
    /// the seed decides on numbers that aren't prime but seem so to some witnesses. Other numbers with leading zeros
    /// are taken as they stand, so that those may count as not prime that would be without them; where no witness can
    /// be found ("03"), or that would never end ("01"), the value decides.
    bool IsPrime();

    /// A copy that is positive.
    HugeInteger abs();

    /// Whether the units digit is even, which no digits are, too.
    bool even();

    /// The number of digits.
    unsigned int size() const;

    /// Takes random digits from the C library's `rand`, the units first, a top digit that isn't 0 last. The number
    /// becomes positive; a lesser block size becomes the number of digits.
    ///
    /// `rand` isn't fit for secrets. The caller seeds it; the state belongs to the thread on Windows, to the process on
    /// Linux.
    /// @throws std::invalid_argument  `digits` is 0
    void random(unsigned int digits);

    /// The bits of the magnitude as bytes 0 and 1, the most significant first; none for zero.
    std::vector<unsigned char> toBinary();

    /// This number to the power of an exponent, modulo a number.
    ///
    /// The first byte counts as 1, whatever it is, and so do all others that aren't 0. With fewer than two of them the
    /// result is this number as it is, also if it exceeds the modulus. Otherwise it is the remainder of the magnitudes,
    /// negative if this number is and the last byte isn't 0.
    /// @throws MathError, std::invalid_argument  as operator%, if there are two bytes or more
    HugeInteger calcPowMod(const std::vector<unsigned char>& exponentBits, const HugeInteger& modulus);

    /// The greatest common divisor after Euclid, by operator%: `a % b` until that is zero, which a negative zero is
    /// not.
    /// @throws MathError, std::invalid_argument  as operator%, on the way; so if this number is negative and the other
    ///                                           one isn't zero
    // NOLINTNEXTLINE(performance-unnecessary-value-param)
    HugeInteger getMaxDiviser(HugeInteger other);

protected:
    /// The quotient of the magnitudes, which is positive. `remainder` gets the positive remainder; it isn't touched if
    /// the divisor is zero or the dividend has no digits, and the quotient is zero then.
    /// @throws std::invalid_argument  as operator/
    HugeInteger divMod(const HugeInteger& divisor, HugeInteger& remainder);

    /// Whether the **other** number's magnitude is the greater one, by the number of digits, then by the digits.
    bool isAbsBigger(const HugeInteger& other);

    /// Reverses the order of the digits.
    void reflect();

    /// Takes the zeros off the top.
    void removeSpace();

    /// Puts the other number's digits below this one's.
    void concat(const HugeInteger& other);

private:
    friend HugeIntegerAccess;

    std::vector<std::int16_t> m_digits; // the units first
    std::uint32_t m_blockSize = 10;
    bool m_positive = true;
};

} // namespace Quoll::Utilities
