/// @file
/// RSA with keys and texts in decimal digits.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Errors.h"
#include "Quoll/HugeInteger.h"

#include <memory>
#include <string>
#include <vector>

namespace Quoll::Utilities
{

/// One of the two keys of a pair.
struct RSACryptKey
{
    HugeInteger exponent; ///< What a block is raised to.
    HugeInteger modulus;  ///< The product of the two primes.
};

/// Makes key pairs and decrypts texts that were encrypted elsewhere.
///
/// **This is a format of record, no protection.** genKeys seeds the C library's generator with the time in whole
/// seconds, and all that is random in a pair follows from that second: whoever knows roughly when a key was made makes
/// the same one within moments, whatever its size. Blocks have no random padding and no check of their integrity, and
/// the time that decryption takes tells of the key. Don't use it for anything that has to stay secret or that must not
/// be forged; decrypt with it what older programs left.
///
/// **Blocks.** A block of bytes is the decimal number made of a digit 1 and three digits for each byte: the bytes 65
/// and 66 are 1065066. Encrypted it is that number to the power of the exponent, modulo the modulus, in decimal, with
/// zeros in front up to twice the key's size in digits.
///
/// Functions work on their arguments; apart from genKeys they may be called on several threads at once. Nothing throws
/// but std::bad_alloc unless said otherwise.
class QUOLL_API RSACrypt
{
public:
    /// Makes a pair of keys. The objects behind the pointers are replaced, the first one's first.
    ///
    /// Seeds the C library's `rand` with the time (see above for what that means); its state belongs to the thread on
    /// Windows and to the process on Linux, where another thread that calls `rand` changes the keys. Time grows with
    /// about the fifth power of the size. The two primes may be equal, and a number that only seems prime may be taken
    /// for one: such a pair doesn't decrypt.
    /// @param publicKey   gets a random exponent of size - 3 digits and the modulus
    /// @param privateKey  gets the inverse of that exponent and the modulus
    /// @param size        the modulus' number of digits, or one more than it gets; each prime has half of them
    /// @throws std::invalid_argument  the size is below 4, for which there is no exponent
    static void genKeys(std::shared_ptr<RSACryptKey>& publicKey, std::shared_ptr<RSACryptKey>& privateKey,
                        unsigned int size);

    /// Decrypts a text of blocks of 2 * size digits, the last of which may be shorter.
    ///
    /// Time grows with the length of the text, and with the cube of the key's size at most.
    /// @throws RsaError  "input data corrupted": a text or a block that is empty or has anything but digits, or a block
    ///                   that isn't one when decrypted
    /// @throws MathError  the modulus is zero and the exponent above 1
    /// @throws std::invalid_argument  the modulus is below zero and the exponent above 1
    /// @throws std::length_error  the text has more than 4294967295 characters
    static std::string DecryptString(std::string text, RSACryptKey& key, unsigned int size);

    /// Decrypts a text of segments, each of which has in front its length plus 100, in three characters.
    ///
    /// Ends without a word where three characters or fewer are left and at a length below 101. A segment that is cut
    /// short is decrypted as far as it goes. The length is read as `std::stoul` does, white space and signs included.
    /// @throws std::invalid_argument  "invalid stoul argument": three characters aren't a number; and as DecryptString
    /// @throws RsaError, MathError  as DecryptString, for each segment
    static std::string DecryptLongString(std::string text, RSACryptKey& key, unsigned int size);

protected:
    /// Decrypts one block.
    /// @throws RsaError  "input data corrupted": what comes out is no block
    /// @throws MathError, std::invalid_argument  as DecryptString
    static std::vector<unsigned char> decrypt(const HugeInteger& block, const RSACryptKey& key);

    /// The coefficient t of b in a * s + b * t = gcd(a, b), after Euclid; it may be negative.
    ///
    /// 1 if b is negative. Made for numbers that are positive; a negative a gives what two steps make of it. Time grows
    /// with the square of the digits.
    /// @throws MathError  b is zero
    static void extEuclid(const HugeInteger& a, const HugeInteger& b, HugeInteger& result);
};

} // namespace Quoll::Utilities
