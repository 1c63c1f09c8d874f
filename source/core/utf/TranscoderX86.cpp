// The transcoder's kernels for x86-64.
#include "core/utf/Kernels.h"

namespace Quoll::Utf
{

void AddX86Kernels(std::vector<Kernel>&)
{
}

} // namespace Quoll::Utf
