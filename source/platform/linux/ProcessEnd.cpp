#include "platform/process_end.h"

#include "platform/linux/HandleTable.h"

namespace Quoll::Platform
{

bool AreOtherThreadsGone() noexcept
{
    return !HandleTable::IsValid();
}

void KeepLibraryLoaded() noexcept
{
}

} // namespace Quoll::Platform
