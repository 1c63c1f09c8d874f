// The lowest limb of the sum decides on the next multiple of the modulus, so that all waits for it. It is kept in an
// ordinary register, where it is ready in half the time; the vectors' own lowest lane isn't used.
#include "cryptography/natural/VectorResidues.h"

#include "cryptography/natural/Power.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>
#include <array>

namespace Quoll::Natural
{

namespace
{

constexpr std::size_t LaneBits = 52;
constexpr Limb Mask = (Limb{1} << LaneBits) - 1;
constexpr std::size_t Lanes = 8;
constexpr std::size_t MostVectors = 12;
constexpr std::size_t LeastBits = 200; // below, ordinary registers are as fast

} // namespace

struct VectorKernel
{
    template<std::size_t Vectors>
    [[gnu::target("avx512f,avx512ifma")]] static void Multiply(Limb* out, const Limb* a, const Limb* b,
                                                               const VectorResidues& residues) noexcept
    {
        const Limb* const modulus = residues.m_modulus.data();
        __m512i factor[Vectors];
        __m512i divisor[Vectors];
        __m512i sum[Vectors];
        for (std::size_t v = 0; v < Vectors; ++v)
        {
            factor[v] = _mm512_loadu_si512(a + Lanes * v);
            divisor[v] = _mm512_loadu_si512(modulus + Lanes * v);
            sum[v] = _mm512_setzero_si512();
        }
        Limb lowest = 0;
        for (std::size_t i = 0; i < residues.m_limbs; ++i)
        {
            const Limb multiplier = b[i];
            const auto second = static_cast<Limb>(_mm_extract_epi64(_mm512_castsi512_si128(sum[0]), 1));
            Wide low = static_cast<Wide>(a[0]) * multiplier + lowest;
            const Limb multiple = LowOf(low) * residues.m_inverse & Mask;
            low += static_cast<Wide>(modulus[0]) * multiple;
            lowest = LowOf(low >> LaneBits) + (second + (a[1] * multiplier & Mask) + (modulus[1] * multiple & Mask));

            const __m512i x = _mm512_set1_epi64(static_cast<long long>(multiplier));
            const __m512i y = _mm512_set1_epi64(static_cast<long long>(multiple));
            for (std::size_t v = 0; v < Vectors; ++v)
            {
                sum[v] = _mm512_madd52lo_epu64(sum[v], factor[v], x);
                sum[v] = _mm512_madd52lo_epu64(sum[v], divisor[v], y);
            }
            for (std::size_t v = 0; v < Vectors; ++v)
            {
                const __m512i above = v + 1 < Vectors ? sum[v + 1] : _mm512_setzero_si512();
                sum[v] = _mm512_alignr_epi64(above, sum[v], 1);
                sum[v] = _mm512_madd52hi_epu64(sum[v], factor[v], x);
                sum[v] = _mm512_madd52hi_epu64(sum[v], divisor[v], y);
            }
        }
        for (std::size_t v = 0; v < Vectors; ++v)
        {
            _mm512_storeu_si512(out + Lanes * v, sum[v]);
        }
        Limb carry = lowest;
        out[0] = 0;
        for (std::size_t i = 0; i < Lanes * Vectors; ++i)
        {
            carry += out[i];
            out[i] = carry & Mask;
            carry >>= LaneBits;
        }
    }

    static VectorResidues::Operation For(std::size_t vectors) noexcept
    {
        static constexpr std::array operations{Multiply<1>, Multiply<2>,  Multiply<3>,  Multiply<4>,
                                               Multiply<5>, Multiply<6>,  Multiply<7>,  Multiply<8>,
                                               Multiply<9>, Multiply<10>, Multiply<11>, Multiply<12>};
        static_assert(operations.size() == MostVectors);
        return operations[vectors - 1];
    }
};

bool VectorResidues::IsFor(const Number& modulus) noexcept
{
    const std::size_t bits = BitCount(modulus);
    return bits >= LeastBits && bits + 2 <= LaneBits * Lanes * MostVectors && modulus.front() % 2 == 1 &&
           __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512ifma");
}

VectorResidues::VectorResidues(const Number& modulus)
    : m_number(modulus)
    , m_limbs((BitCount(modulus) + 2 + LaneBits - 1) / LaneBits)
    , m_vectors((m_limbs + Lanes - 1) / Lanes)
    , m_modulus(Split(modulus))
    , m_inverse(NegativeInverse(modulus.front()) & Mask)
    , m_multiply(VectorKernel::For(m_vectors))
{
    Number radix(2 * LaneBits * m_limbs / LimbBits + 1);
    radix.back() = Limb{1} << 2 * LaneBits * m_limbs % LimbBits;
    m_squaredRadix = Split(Divide(radix, modulus).remainder);
}

VectorResidues::Residue VectorResidues::Split(const Number& number) const
{
    Residue residue(Lanes * m_vectors);
    for (std::size_t i = 0; i < residue.size(); ++i)
    {
        const std::size_t at = LaneBits * i / LimbBits;
        const Wide pair = static_cast<Wide>(at + 1 < number.size() ? number[at + 1] : 0) << LimbBits |
                          (at < number.size() ? number[at] : 0);
        residue[i] = LowOf(pair >> LaneBits * i % LimbBits) & Mask;
    }
    return residue;
}

VectorResidues::Residue VectorResidues::Enter(const Number& number) const
{
    Residue residue = Split(number);
    Multiply(residue, m_squaredRadix);
    return residue;
}

// Multiplied by 1 the residue is the modulus at most.
Number VectorResidues::Leave(Residue residue) const
{
    Residue one(residue.size());
    one.front() = 1;
    Multiply(residue, one);
    Number number(LaneBits * residue.size() / LimbBits + 1);
    for (std::size_t i = 0; i < residue.size(); ++i)
    {
        const std::size_t at = LaneBits * i / LimbBits;
        const Wide shifted = static_cast<Wide>(residue[i]) << LaneBits * i % LimbBits;
        number[at] |= LowOf(shifted);
        if (at + 1 < number.size())
        {
            number[at + 1] |= HighOf(shifted);
        }
    }
    Trim(number);
    return number == m_number ? Number() : number;
}

} // namespace Quoll::Natural

#else

#include <cstdlib>

namespace Quoll::Natural
{

bool VectorResidues::IsFor(const Number&) noexcept
{
    return false;
}

// Nobody gets here without IsFor.
VectorResidues::VectorResidues(const Number&)
{
    std::abort();
}

VectorResidues::Residue VectorResidues::Enter(const Number&) const
{
    std::abort();
}

Number VectorResidues::Leave(Residue) const
{
    std::abort();
}

} // namespace Quoll::Natural

#endif
