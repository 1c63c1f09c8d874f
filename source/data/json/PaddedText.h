// Text that can be taken in blocks.
#pragma once

#include "Quoll/WideString.h"

namespace Quoll::Json
{

// A text behind which a block of units can be read; what is there is ignored. So is every text that was read.
struct PaddedText : WStringView
{
    using WStringView::WStringView;
};

} // namespace Quoll::Json
