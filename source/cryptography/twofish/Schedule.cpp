#include "cryptography/twofish/Schedule.h"

#include "cryptography/Wipe.h"
#include "cryptography/twofish/Round.h"
#include "cryptography/twofish/Tables.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

namespace Quoll::Twofish
{

namespace
{

constexpr std::size_t WordsAtMost = 4; // in each half of the key

using KeyHalf = std::array<std::uint32_t, WordsAtMost>;

// Which permutation each stage of a byte's S-box takes, by the byte's place: the innermost of a key of 32 bytes first.
constexpr std::uint8_t Stages[5][4] = {{1, 0, 0, 1}, {1, 1, 0, 0}, {0, 1, 0, 1}, {0, 0, 1, 1}, {1, 0, 1, 0}};

// A byte through the S-box of its place.
std::uint8_t Substitute(std::uint8_t byte, unsigned place, const KeyHalf& key, std::size_t words) noexcept
{
    for (std::size_t left = words; left > 0; --left)
    {
        byte = Permutations[Stages[WordsAtMost - left][place]][byte];
        byte ^= static_cast<std::uint8_t>(key[left - 1] >> 8 * place);
    }
    return Permutations[Stages[WordsAtMost][place]][byte];
}

// The function h of the paper for a word of four equal bytes.
std::uint32_t Mix(std::uint8_t byte, const KeyHalf& key, std::size_t words) noexcept
{
    std::uint32_t mixed = 0;
    for (unsigned place = 0; place < 4; ++place)
    {
        mixed ^= MdsProducts[place][Substitute(byte, place, key, words)];
    }
    return mixed;
}

std::uint32_t RsWord(const std::uint8_t* bytes) noexcept
{
    std::uint32_t word = 0;
    for (unsigned row = 0; row < 4; ++row)
    {
        std::uint8_t sum = 0;
        for (unsigned column = 0; column < 8; ++column)
        {
            sum ^= Product(Rs[row][column], bytes[column], RsPolynomial);
        }
        word |= std::uint32_t{sum} << 8 * row;
    }
    return word;
}

} // namespace

Schedule::Schedule(std::span<const std::uint8_t> key) noexcept
    : rounds(key.size() > 8 ? 16 : 0)
{
    std::array<std::uint8_t, 32> bytes{};
    std::copy(key.begin(), key.end(), bytes.begin());
    const std::size_t words = std::max<std::size_t>(2, (key.size() + 7) / 8);

    KeyHalf even{};
    KeyHalf odd{};
    KeyHalf sbox{};
    for (std::size_t i = 0; i < words; ++i)
    {
        even[i] = LoadWord(bytes.data() + 8 * i);
        odd[i] = LoadWord(bytes.data() + 8 * i + 4);
        sbox[words - 1 - i] = RsWord(bytes.data() + 8 * i);
    }
    for (std::size_t i = 0; i < subkeys.size(); i += 2)
    {
        const std::uint32_t a = Mix(static_cast<std::uint8_t>(i), even, words);
        const std::uint32_t b = std::rotl(Mix(static_cast<std::uint8_t>(i + 1), odd, words), 8);
        subkeys[i] = a + b;
        subkeys[i + 1] = std::rotl(a + 2 * b, 9);
    }
    for (unsigned place = 0; place < 4; ++place)
    {
        for (unsigned byte = 0; byte < 256; ++byte)
        {
            boxes[place][byte] = Substitute(static_cast<std::uint8_t>(byte), place, sbox, words);
            tables[place][byte] = MdsProducts[place][boxes[place][byte]];
        }
    }
    Wipe(bytes.data(), bytes.size());
    for (KeyHalf* const half : {&even, &odd, &sbox})
    {
        Wipe(half->data(), sizeof(*half));
    }
}

Schedule::~Schedule()
{
    Wipe(&boxes, sizeof(boxes));
    Wipe(&tables, sizeof(tables));
    Wipe(&subkeys, sizeof(subkeys));
}

Block Encrypt(const Schedule& schedule, const Block& block) noexcept
{
    const std::array<std::uint32_t, 40>& subkeys = schedule.subkeys;
    Block state;
    for (std::size_t i = 0; i < state.size(); ++i)
    {
        state[i] = block[i] ^ subkeys[i];
    }
    for (unsigned round = 0; round < schedule.rounds; ++round)
    {
        const bool isOdd = round % 2 != 0;
        Round(schedule, round, state[isOdd ? 2 : 0], state[isOdd ? 3 : 1], state[isOdd ? 0 : 2], state[isOdd ? 1 : 3]);
    }
    if (schedule.rounds != 0)
    {
        std::swap(state[0], state[2]);
        std::swap(state[1], state[3]);
    }
    for (std::size_t i = 0; i < state.size(); ++i)
    {
        state[i] ^= subkeys[4 + i];
    }
    return state;
}

} // namespace Quoll::Twofish
