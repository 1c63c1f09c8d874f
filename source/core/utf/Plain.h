// The plain transcoder, one sequence at a time: the oracle of the vector kernels and their helper
// where a block holds what they don't handle.
#pragma once

#include "core/utf/Transcoder.h"

#include <algorithm>
#include <cstdint>

namespace Quoll::Utf
{

struct DecodeCursor
{
    const unsigned char* in;
    const unsigned char* inEnd;
    Unit* out;
    Unit* outEnd;
};

struct EncodeCursor
{
    const Unit* in;
    const Unit* inEnd;
    char* out;
    char* outEnd;
};

inline bool IsContinuation(unsigned char byte) noexcept
{
    return (byte & 0xC0) == 0x80;
}

// Whether a second byte may follow a lead: shuts out overlong forms, surrogates and what lies
// above U+10FFFF, all of which show in these two bytes.
inline bool IsSecondByte(unsigned char lead, unsigned char second) noexcept
{
    switch (lead)
    {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second >= 0x80 && second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second >= 0x80 && second <= 0x8F;
    default:
        return IsContinuation(second);
    }
}

// Decodes while the cursor is before `stop`; the last sequence may reach behind it.
inline Outcome DecodePlain(DecodeCursor& cursor, const unsigned char* stop) noexcept
{
    const unsigned char* in = cursor.in;
    Unit* out = cursor.out;
    Outcome outcome = Outcome::Complete;
    while (in < stop)
    {
        if (out == cursor.outEnd)
        {
            outcome = Outcome::NoRoom;
            break;
        }
        const unsigned lead = in[0];
        const std::ptrdiff_t left = cursor.inEnd - in;
        if (lead < 0x80)
        {
            *out++ = static_cast<Unit>(lead);
            ++in;
        }
        else if (lead >= 0xC2 && lead < 0xE0 && left >= 2 && IsContinuation(in[1]))
        {
            *out++ = static_cast<Unit>(((lead & 0x1Fu) << 6) | (in[1] & 0x3Fu));
            in += 2;
        }
        else if (lead >= 0xE0 && lead < 0xF0 && left >= 3 && IsSecondByte(in[0], in[1]) && IsContinuation(in[2]))
        {
            *out++ = static_cast<Unit>(((lead & 0x0Fu) << 12) | ((in[1] & 0x3Fu) << 6) | (in[2] & 0x3Fu));
            in += 3;
        }
        else if (lead >= 0xF0 && lead < 0xF5 && left >= 4 && IsSecondByte(in[0], in[1]) && IsContinuation(in[2]) &&
                 IsContinuation(in[3]))
        {
            if (cursor.outEnd - out < 2)
            {
                outcome = Outcome::NoRoom;
                break;
            }
            const std::uint32_t point =
                ((lead & 7u) << 18) | ((in[1] & 0x3Fu) << 12) | ((in[2] & 0x3Fu) << 6) | (in[3] & 0x3Fu);
            *out++ = static_cast<Unit>(0xD7C0 + (point >> 10));
            *out++ = static_cast<Unit>(0xDC00 | (point & 0x3FF));
            in += 4;
        }
        else
        {
            outcome = Outcome::IllFormed;
            break;
        }
    }
    cursor.in = in;
    cursor.out = out;
    return outcome;
}

// One unit, or pair, with room for four bytes.
inline Outcome EncodeOne(EncodeCursor& cursor) noexcept
{
    const std::uint32_t unit = static_cast<std::uint16_t>(*cursor.in);
    char* const out = cursor.out;
    if (unit < 0x80)
    {
        out[0] = static_cast<char>(unit);
        cursor.out += 1;
    }
    else if (unit < 0x800)
    {
        out[0] = static_cast<char>(0xC0 | (unit >> 6));
        out[1] = static_cast<char>(0x80 | (unit & 0x3F));
        cursor.out += 2;
    }
    else if ((unit & 0xF800) != 0xD800)
    {
        out[0] = static_cast<char>(0xE0 | (unit >> 12));
        out[1] = static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (unit & 0x3F));
        cursor.out += 3;
    }
    else
    {
        if (unit >= 0xDC00 || cursor.inEnd - cursor.in < 2 || (cursor.in[1] & 0xFC00) != 0xDC00)
        {
            return Outcome::IllFormed;
        }
        const std::uint32_t point = ((unit - 0xD7C0) << 10) | (static_cast<std::uint32_t>(cursor.in[1]) & 0x3FF);
        out[0] = static_cast<char>(0xF0 | (point >> 18));
        out[1] = static_cast<char>(0x80 | ((point >> 12) & 0x3F));
        out[2] = static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out[3] = static_cast<char>(0x80 | (point & 0x3F));
        cursor.out += 4;
        ++cursor.in;
    }
    ++cursor.in;
    return Outcome::Complete;
}

// Encodes while the cursor is before `stop`; the last pair may reach behind it.
inline Outcome EncodePlain(EncodeCursor& position, const Unit* stop) noexcept
{
    EncodeCursor cursor = position; // a copy that no store can alias
    Outcome outcome = Outcome::Complete;
    while (outcome == Outcome::Complete && cursor.in < stop)
    {
        if (cursor.outEnd - cursor.out >= 4)
        {
            outcome = EncodeOne(cursor);
            continue;
        }
        char last[4];
        EncodeCursor apart{cursor.in, cursor.inEnd, last, last + 4};
        outcome = EncodeOne(apart);
        if (outcome == Outcome::Complete && apart.out - last > cursor.outEnd - cursor.out)
        {
            outcome = Outcome::NoRoom;
        }
        else if (outcome == Outcome::Complete)
        {
            cursor.out = std::copy(last, apart.out, cursor.out);
            cursor.in = apart.in;
        }
    }
    position = cursor;
    return outcome;
}

} // namespace Quoll::Utf
