// Structured exceptions can be raised, never caught: the process ends.
#include <windows.h>

#include <syslog.h>

#include <cstdlib>

void RaiseException(DWORD code, DWORD flags, DWORD, const ULONG_PTR*) noexcept
{
    syslog(LOG_CRIT, "structured exception 0x%08X, flags %u", code, flags);
    std::abort();
}
