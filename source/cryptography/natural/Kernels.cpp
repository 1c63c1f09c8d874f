#include "cryptography/natural/Kernels.h"

namespace Quoll::Natural
{

namespace
{

struct PlainRow
{
    static Limb Multiply(Limb* out, const Limb* a, std::size_t count, Limb factor) noexcept
    {
        return MultiplyRow(out, a, count, factor);
    }
    static Limb AddProduct(Limb* out, const Limb* a, std::size_t count, Limb factor) noexcept
    {
        return Natural::AddProduct(out, a, count, factor);
    }
    static Limb Add(Limb* out, const Limb* a, const Limb* b, std::size_t count) noexcept
    {
        return AddRows(out, a, b, count);
    }
    static void DoubleAndAddSquares(Limb* wide, const Limb* a, std::size_t count) noexcept
    {
        Natural::DoubleAndAddSquares(wide, a, count);
    }
};

} // namespace

const std::vector<Kernel>& Kernels()
{
    static const std::vector<Kernel> kernels = [] {
        std::vector<Kernel> list{RowKernel<PlainRow>::Make("plain")};
        AddAdxKernel(list);
        return list;
    }();
    return kernels;
}

} // namespace Quoll::Natural
