// The rows for x86-64 with BMI2 and ADX: the products' own carries run through one flag, those of the sums through the
// other. Compilers don't keep two chains apart, so the steps are written out.
#include "cryptography/natural/Kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

namespace Quoll::Natural
{

namespace
{

// One limb: the product's low half, the high half of the one before, and what stands there, if it is to be added.
#define QUOLL_ADX_ADD(AT) "adox " #AT "(%[out]), %[low]\n\t"
#define QUOLL_ADX_PUT(AT)
#define QUOLL_ADX_STEP(OUT, AT, HIGH, BEFORE)                                                                          \
    "mulx " #AT "(%[a]), %[low], %[" HIGH "]\n\t"                                                                      \
    "adcx %[" BEFORE "], %[low]\n\t" OUT(AT) "movq %[low], " #AT "(%[out])\n\t"

#define QUOLL_ADX_STEPS_1(OUT) QUOLL_ADX_STEP(OUT, 0, "odd", "even")
#define QUOLL_ADX_STEPS_2(OUT) QUOLL_ADX_STEPS_1(OUT) QUOLL_ADX_STEP(OUT, 8, "even", "odd")
#define QUOLL_ADX_STEPS_3(OUT) QUOLL_ADX_STEPS_2(OUT) QUOLL_ADX_STEP(OUT, 16, "odd", "even")
#define QUOLL_ADX_STEPS_4(OUT) QUOLL_ADX_STEPS_3(OUT) QUOLL_ADX_STEP(OUT, 24, "even", "odd")
#define QUOLL_ADX_STEPS_5(OUT) QUOLL_ADX_STEPS_4(OUT) QUOLL_ADX_STEP(OUT, 32, "odd", "even")
#define QUOLL_ADX_STEPS_6(OUT) QUOLL_ADX_STEPS_5(OUT) QUOLL_ADX_STEP(OUT, 40, "even", "odd")
#define QUOLL_ADX_STEPS_7(OUT) QUOLL_ADX_STEPS_6(OUT) QUOLL_ADX_STEP(OUT, 48, "odd", "even")
#define QUOLL_ADX_STEPS_8(OUT) QUOLL_ADX_STEPS_7(OUT) QUOLL_ADX_STEP(OUT, 56, "even", "odd")

// So many limbs of out += a * factor + carry, or out = ...; the carry is then the limb above.
#define QUOLL_ADX_ROW(STEPS, LAST)                                                                                     \
    {                                                                                                                  \
        Limb even = carry;                                                                                             \
        Limb odd = 0;                                                                                                  \
        Limb low = 0;                                                                                                  \
        asm volatile("xorl %k[low], %k[low]\n\t" STEPS "movl $0, %k[low]\n\t"                                          \
                     "adcx %[low], %[" #LAST "]\n\t"                                                                   \
                     "adox %[low], %[" #LAST "]\n\t"                                                                   \
                     : [even] "+&r"(even), [odd] "+&r"(odd), [low] "+&r"(low)                                          \
                     : [out] "r"(out), [a] "r"(a), "d"(factor)                                                         \
                     : "cc", "memory");                                                                                \
        carry = LAST;                                                                                                  \
    }

#define QUOLL_ADX_ROWS(OUT)                                                                                            \
    Limb carry = 0;                                                                                                    \
    for (; count >= 8; count -= 8, out += 8, a += 8)                                                                   \
    {                                                                                                                  \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_8(OUT), even)                                                                    \
    }                                                                                                                  \
    switch (count)                                                                                                     \
    {                                                                                                                  \
    case 1:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_1(OUT), odd)                                                                     \
        break;                                                                                                         \
    case 2:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_2(OUT), even)                                                                    \
        break;                                                                                                         \
    case 3:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_3(OUT), odd)                                                                     \
        break;                                                                                                         \
    case 4:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_4(OUT), even)                                                                    \
        break;                                                                                                         \
    case 5:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_5(OUT), odd)                                                                     \
        break;                                                                                                         \
    case 6:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_6(OUT), even)                                                                    \
        break;                                                                                                         \
    case 7:                                                                                                            \
        QUOLL_ADX_ROW(QUOLL_ADX_STEPS_7(OUT), odd)                                                                     \
        break;                                                                                                         \
    default:                                                                                                           \
        break;                                                                                                         \
    }                                                                                                                  \
    return carry;

struct AdxRow
{
    [[gnu::always_inline]] static inline Limb AddProduct(Limb* out, const Limb* a, std::size_t count,
                                                         Limb factor) noexcept
    {
        QUOLL_ADX_ROWS(QUOLL_ADX_ADD)
    }

    [[gnu::always_inline]] static inline Limb Multiply(Limb* out, const Limb* a, std::size_t count,
                                                       Limb factor) noexcept
    {
        QUOLL_ADX_ROWS(QUOLL_ADX_PUT)
    }

    static Limb Add(Limb* out, const Limb* a, const Limb* b, std::size_t count) noexcept
    {
        unsigned char carry = 0;
        std::size_t i = 0;
        for (; i + 4 <= count; i += 4)
        {
            carry = AddCarry(carry, a[i], b[i], out[i]);
            carry = AddCarry(carry, a[i + 1], b[i + 1], out[i + 1]);
            carry = AddCarry(carry, a[i + 2], b[i + 2], out[i + 2]);
            carry = AddCarry(carry, a[i + 3], b[i + 3], out[i + 3]);
        }
        for (; i < count; ++i)
        {
            carry = AddCarry(carry, a[i], b[i], out[i]);
        }
        return carry;
    }

    static void DoubleAndAddSquares(Limb* wide, const Limb* a, std::size_t count) noexcept
    {
        Limb doubled = 0;
        unsigned char carry = 0;
        for (std::size_t i = 0; i < count; ++i)
        {
            const Wide square = static_cast<Wide>(a[i]) * a[i];
            const Limb low = wide[2 * i];
            const Limb high = wide[2 * i + 1];
            carry = AddCarry(carry, low << 1 | doubled, LowOf(square), wide[2 * i]);
            carry = AddCarry(carry, high << 1 | low >> (LimbBits - 1), HighOf(square), wide[2 * i + 1]);
            doubled = high >> (LimbBits - 1);
        }
    }

private:
    [[gnu::always_inline]] static inline unsigned char AddCarry(unsigned char carry, Limb a, Limb b, Limb& out) noexcept
    {
        unsigned long long sum = 0;
        carry = _addcarry_u64(carry, a, b, &sum);
        out = sum;
        return carry;
    }
};

} // namespace

void AddAdxKernel(std::vector<Kernel>& kernels)
{
    if (__builtin_cpu_supports("bmi2") && __builtin_cpu_supports("adx"))
    {
        kernels.push_back(RowKernel<AdxRow>::Make("adx"));
    }
}

} // namespace Quoll::Natural

#else

namespace Quoll::Natural
{

void AddAdxKernel(std::vector<Kernel>&)
{
}

} // namespace Quoll::Natural

#endif
