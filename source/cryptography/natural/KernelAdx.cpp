// The rows for x86-64 with BMI2 and ADX: the products' own carries run through one flag, those of the sums through the
// other. Compilers don't keep two chains apart, so the steps are written out.
#include "cryptography/natural/Kernels.h"

#if defined(__x86_64__)

namespace Quoll::Natural
{

namespace
{

// One limb: the product's low half, the high half of the one before, and what stands there.
#define QUOLL_ADX_STEP(AT, HIGH, BEFORE)                                                                               \
    "mulx " #AT "(%[a]), %[low], %[" HIGH "]\n\t"                                                                      \
    "adcx %[" BEFORE "], %[low]\n\t"                                                                                   \
    "adox " #AT "(%[out]), %[low]\n\t"                                                                                 \
    "movq %[low], " #AT "(%[out])\n\t"

#define QUOLL_ADX_STEPS_1 QUOLL_ADX_STEP(0, "odd", "even")
#define QUOLL_ADX_STEPS_2 QUOLL_ADX_STEPS_1 QUOLL_ADX_STEP(8, "even", "odd")
#define QUOLL_ADX_STEPS_3 QUOLL_ADX_STEPS_2 QUOLL_ADX_STEP(16, "odd", "even")
#define QUOLL_ADX_STEPS_4 QUOLL_ADX_STEPS_3 QUOLL_ADX_STEP(24, "even", "odd")
#define QUOLL_ADX_STEPS_5 QUOLL_ADX_STEPS_4 QUOLL_ADX_STEP(32, "odd", "even")
#define QUOLL_ADX_STEPS_6 QUOLL_ADX_STEPS_5 QUOLL_ADX_STEP(40, "even", "odd")
#define QUOLL_ADX_STEPS_7 QUOLL_ADX_STEPS_6 QUOLL_ADX_STEP(48, "odd", "even")
#define QUOLL_ADX_STEPS_8 QUOLL_ADX_STEPS_7 QUOLL_ADX_STEP(56, "even", "odd")

// So many limbs of out += a * factor + carry; the carry is then the limb above.
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

struct AdxRow
{
    [[gnu::always_inline]] static inline Limb AddProduct(Limb* out, const Limb* a, std::size_t count,
                                                         Limb factor) noexcept
    {
        Limb carry = 0;
        for (; count >= 8; count -= 8, out += 8, a += 8)
        {
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_8, even)
        }
        switch (count)
        {
        case 1:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_1, odd)
            break;
        case 2:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_2, even)
            break;
        case 3:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_3, odd)
            break;
        case 4:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_4, even)
            break;
        case 5:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_5, odd)
            break;
        case 6:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_6, even)
            break;
        case 7:
            QUOLL_ADX_ROW(QUOLL_ADX_STEPS_7, odd)
            break;
        default:
            break;
        }
        return carry;
    }

    static Limb Multiply(Limb* out, const Limb* a, std::size_t count, Limb factor) noexcept
    {
        return MultiplyRow(out, a, count, factor);
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
