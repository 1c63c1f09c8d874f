// Encrypts a stream two bits at a time: the block of the second is made beside that of the first, for both values that
// the first may get. That gives two bits in little more than the time of one block.
#pragma once

#include "cryptography/twofish/Lanes.h"
#include "cryptography/twofish/Window.h"

namespace Quoll::Twofish
{

// `open` opens the block at a place of the ring, six and seven bits ahead, so that none is waited for. What isn't known
// of its window yet is 0.
template<typename Open>
class PairEncryptor
{
public:
    PairEncryptor(const Schedule& schedule, const Register& start, Openings& openings, const Open& open) noexcept
        : m_schedule(schedule)
        , m_openings(openings)
        , m_open(open)
        , m_window(Window::Of(start))
    {
        for (unsigned place = 0; place < BitsAhead; ++place)
        {
            Window known = m_window.After(place);
            known.low &= ~UnknownBits << place % 2;
            m_open(known, place);
        }
    }

    const Window& Last() const noexcept
    {
        return m_window;
    }

    [[gnu::always_inline]] std::uint8_t Encrypt(std::uint8_t byte) noexcept
    {
        for (unsigned bit = 0; bit < 8; bit += 2)
        {
            for (unsigned ahead = BitsAhead; ahead < BitsAhead + 2; ++ahead)
            {
                m_open(m_window.After(ahead), (m_place + ahead) % Openings::Size);
            }
            const unsigned last = m_window.low & UnknownBits;
            const std::array<unsigned, 3> keys =
                Close<3>(m_schedule, m_openings, {m_place, m_place + 1, m_place + 1}, {last, 2 * last, 2 * last + 1});
            const unsigned first = (byte >> (7 - bit) & 1u) ^ keys[0];
            // No branch: it would be mistaken every other time.
            const unsigned second = (byte >> (6 - bit) & 1u) ^ ((keys[1] & ~first) | (keys[2] & first));
            m_window.Append(2, 2 * first + second);
            m_place = (m_place + 2) % Openings::Size;
        }
        return static_cast<std::uint8_t>(m_window.low);
    }

private:
    static constexpr unsigned BitsAhead = 6;
    static constexpr std::uint64_t UnknownBits = (1u << BitsAhead) - 1;

    const Schedule& m_schedule;
    Openings& m_openings;
    const Open& m_open;
    Window m_window;
    std::size_t m_place = 0;
};

} // namespace Quoll::Twofish
