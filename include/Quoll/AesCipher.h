/// @file
/// A symmetric cipher for data of record.
///
///     using Quoll::Utilities::AesCipher;
///     const AesCipher cipher(key);            // 16 or 32 bytes without a zero among them, or none
///     cipher.Encrypt(data);
///     cipher.Decrypt(data);                   // what it was
#pragma once

#include "Quoll/Api.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Quoll::Utilities
{

/// Encrypts bytes in place with Twofish, in cipher feedback of one bit. It is no AES, in spite of its name.
///
/// This is a format: it reads and writes what other programs of the family do. It is no protection by today's
/// measure. Every call starts from the same initial vector, which is made of the key alone: equal texts give equal
/// results, texts with equal beginnings give results with equal beginnings, and two texts under one key tell about
/// each other. Nothing tells whether encrypted data was changed, whoever knows the library knows the default key,
/// and the time that a call takes depends on key and data. Use another means for what must stay secret.
///
/// The key. At most its bytes before the first zero byte count:
/// - 1 to 32 of them are the key, with zeros behind up to 16, 24 or 32. Sizes that work as meant are 16 and 32.
/// - With 8 or fewer, all rounds of the cipher are left out, and the data is as good as open.
/// - None, in an empty key or behind a leading zero byte, stands for the default key of the library.
///
/// The initial vector is the first 16 characters of the counting bytes' upper-case hexadecimal text, taken as bytes:
/// so it is made of the first 8 bytes of the key. Behind a shorter text it is filled up with zeros.
///
/// The cost is one block of the cipher for each bit of the data. Memory does not grow with the data.
///
/// Ownership: copies share one expanded key, which is wiped and freed with the last of them, whichever that is; so
/// each may be destroyed or assigned to at any time. There is no move other than a copy, and no empty state.
/// Threads: Encrypt and Decrypt keep what they work with to themselves, so that threads may call them at the same
/// time on one object or on copies, each with data of its own. To assign to an object or destroy it while another
/// thread uses it is an error.
/// Behaviour is the same on both targets.
class QUOLL_API AesCipher
{
public:
    /// Takes and expands the key.
    /// @throws std::invalid_argument  "Key size should be modulo 16.": the size isn't a multiple of 16
    /// @throws std::invalid_argument  "Key size should be 16.": more than 32 bytes stand before the first zero byte
    /// @throws std::bad_alloc         there is no memory for it
    explicit AesCipher(const std::vector<std::uint8_t>& key);

    /// Shares the expanded key.
    /// @throws std::bad_alloc  there is no memory for a copy of the key's bytes
    AesCipher(const AesCipher& other);

    /// Shares the other's expanded key and lets go of the one it had. After a failure nothing has changed.
    /// @throws std::bad_alloc  there is no memory for a copy of the key's bytes
    AesCipher& operator=(const AesCipher& other);

    /// Wipes the key's bytes, and the expanded key with the last copy.
    virtual ~AesCipher();

    /// Encrypts the bytes in place; their number stays, and none is a number, too. It never fails.
    void Encrypt(std::vector<std::uint8_t>& data) const noexcept;

    /// Undoes Encrypt under the same key. It never fails: other data gives bytes without meaning.
    void Decrypt(std::vector<std::uint8_t>& data) const noexcept;

private:
    struct Context;

    std::shared_ptr<const Context> m_context;
    std::vector<std::uint8_t> m_key; // with a zero behind
};

} // namespace Quoll::Utilities
