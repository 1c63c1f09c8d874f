#include "platform/linux/FileFacts.h"

#include <fcntl.h>

namespace Quoll::Platform
{

namespace
{

constexpr std::int64_t ticksInSecond = 10'000'000;
constexpr std::int64_t nanosecondsInTick = 100;
constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;

constexpr unsigned wanted = STATX_BASIC_STATS | STATX_BTIME;

} // namespace

bool ReadFacts(FilePlace place, struct statx& facts) noexcept
{
    return place.path != nullptr ? statx(AT_FDCWD, place.path, 0, wanted, &facts) == 0
                                 : statx(place.descriptor, "", AT_EMPTY_PATH, wanted, &facts) == 0;
}

bool ReadNameFacts(const char* name, struct statx& facts) noexcept
{
    return statx(AT_FDCWD, name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &facts) == 0;
}

bool IsFolder(const struct statx& facts) noexcept
{
    return S_ISDIR(facts.stx_mode);
}

bool IsReadOnly(const struct statx& facts) noexcept
{
    return S_ISREG(facts.stx_mode) && (facts.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

bool IsSpecial(const struct statx& facts) noexcept
{
    const bool null = S_ISCHR(facts.stx_mode) && facts.stx_rdev_major == 1 && facts.stx_rdev_minor == 3;
    return !S_ISREG(facts.stx_mode) && !S_ISDIR(facts.stx_mode) && !null;
}

bool IsSameFile(const struct statx& first, const struct statx& second) noexcept
{
    return first.stx_ino == second.stx_ino && first.stx_dev_major == second.stx_dev_major &&
           first.stx_dev_minor == second.stx_dev_minor;
}

timespec ToHostTime(const statx_timestamp& time) noexcept
{
    return {time.tv_sec, time.tv_nsec};
}

FILETIME ToFileTime(const statx_timestamp& time) noexcept
{
    const std::int64_t seconds = time.tv_sec + secondsFrom1601To1970;
    // Before 1601, or beyond what ticks can tell.
    if (seconds < 0 || seconds > INT64_MAX / ticksInSecond - 1)
    {
        return {};
    }
    const auto ticks = static_cast<std::uint64_t>(seconds * ticksInSecond + time.tv_nsec / nanosecondsInTick);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

FILETIME CreationTime(const struct statx& facts) noexcept
{
    return ToFileTime((facts.stx_mask & STATX_BTIME) != 0 ? facts.stx_btime : facts.stx_mtime);
}

bool FromFileTime(const FILETIME& time, timespec& moment) noexcept
{
    const auto ticks = static_cast<std::int64_t>((std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime);
    moment.tv_sec = ticks / ticksInSecond - secondsFrom1601To1970;
    moment.tv_nsec = ticks % ticksInSecond * nanosecondsInTick;
    return ticks >= 0;
}

} // namespace Quoll::Platform
