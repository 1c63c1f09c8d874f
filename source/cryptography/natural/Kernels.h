// The instruction-set variants of the rows behind powers modulo an odd number.
#pragma once

#include "cryptography/natural/Rows.h"

#include <vector>

namespace Quoll::Natural
{

// One variant. All give the same result for the same input. Rows have `count` limbs, `wide` has twice as many.
struct Kernel
{
    const char* name;
    // wide = a * b
    void (*multiply)(Limb* wide, const Limb* a, const Limb* b, std::size_t count) noexcept;
    // wide = a * a
    void (*square)(Limb* wide, const Limb* a, std::size_t count) noexcept;
    // out = wide / 2^(64 * count) modulo the modulus, below which it is if `wide` was below modulus * 2^(64 * count).
    // `inverse` times the modulus is -1 modulo 2^64. Overwrites `wide`.
    void (*reduce)(Limb* out, Limb* wide, const Limb* modulus, std::size_t count, Limb inverse) noexcept;
};

// The variants that this processor can run, the plain one first and the best last.
const std::vector<Kernel>& Kernels();

// Adds its variant if this processor can run it.
void AddAdxKernel(std::vector<Kernel>& kernels);

// Made of Row::Multiply and Row::AddProduct, which do what MultiplyRow and AddProduct do, of Row::Add, which is
// AddRows, and of Row::DoubleAndAddSquares: wide = 2 * wide + the squares of a's limbs, each in its place.
template<class Row>
struct RowKernel
{
    static void Multiply(Limb* wide, const Limb* a, const Limb* b, std::size_t count) noexcept
    {
        wide[count] = Row::Multiply(wide, a, count, b[0]);
        for (std::size_t i = 1; i < count; ++i)
        {
            wide[count + i] = Row::AddProduct(wide + i, a, count, b[i]);
        }
    }

    // Products of different limbs once, doubled, and the squares.
    static void Square(Limb* wide, const Limb* a, std::size_t count) noexcept
    {
        wide[0] = 0;
        wide[count] = Row::Multiply(wide + 1, a + 1, count - 1, a[0]);
        for (std::size_t i = 1; i < count; ++i)
        {
            wide[count + i] = Row::AddProduct(wide + 2 * i + 1, a + i + 1, count - i - 1, a[i]);
        }
        Row::DoubleAndAddSquares(wide, a, count);
    }

    // Each row makes the lowest limb zero; what it carries waits there until all are added at once.
    static void Reduce(Limb* out, Limb* wide, const Limb* modulus, std::size_t count, Limb inverse) noexcept
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            wide[i] = Row::AddProduct(wide + i, modulus, count, wide[i] * inverse);
        }
        const Limb carry = Row::Add(out, wide + count, wide, count);
        if (carry != 0 || CompareRows(out, modulus, count) >= 0)
        {
            SubtractRows(out, out, modulus, count);
        }
    }

    static constexpr Kernel Make(const char* name) noexcept
    {
        return {name, Multiply, Square, Reduce};
    }
};

} // namespace Quoll::Natural
