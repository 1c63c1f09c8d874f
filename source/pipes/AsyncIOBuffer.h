// The bytes of one message, or of one chunk of it.
#pragma once

#include "Quoll/PipeFraming.h"
#include "Quoll/WideString.h"

#include <cstddef>
#include <vector>

namespace Quoll::Utilities
{

// A terminator of one unit follows the payload; it is never written and never read into.
class AsyncIOBuffer
{
public:
    // For writing. Throws ConversionException if the text can't be encoded.
    AsyncIOBuffer(NamedPipeMessageEncoding encoding, const WString& message);
    // For reading up to `size` units, but at least one: a read of nothing would never end.
    AsyncIOBuffer(NamedPipeMessageEncoding encoding, std::size_t size);
    AsyncIOBuffer(const AsyncIOBuffer&) = default;
    AsyncIOBuffer(AsyncIOBuffer&&) noexcept = default;
    AsyncIOBuffer& operator=(const AsyncIOBuffer&) = default;
    AsyncIOBuffer& operator=(AsyncIOBuffer&&) noexcept = default;
    virtual ~AsyncIOBuffer();

    void Clear() noexcept;
    WString AsWideString() const; // up to the first NUL; each ill-formed piece of UTF-8 as U+FFFD
    std::uint32_t PayloadSize() const noexcept;
    std::byte* Data() noexcept;
    void Received(std::size_t count) noexcept; // so much of the payload was read into

private:
    std::size_t UnitSize() const noexcept;
    void CheckSize() const;

    std::vector<std::byte> m_bytes;
    NamedPipeMessageEncoding m_encoding;
    std::size_t m_used = 0; // bytes behind these are zero
};

} // namespace Quoll::Utilities
