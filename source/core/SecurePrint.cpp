#include "core/SecurePrint.h"

#include "Quoll/InvalidParameter.h"
#include "core/Printf.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <limits>

namespace Quoll::Utilities
{

namespace
{

void EndProcess(const WChar*, const WChar*)
{
    std::abort();
}

std::atomic<InvalidParameterHandler> currentHandler{EndProcess};

int Refuse(int error, const WChar* expression)
{
    errno = error;
    currentHandler.load()(expression, "SecurePrint"_w);
    return -1;
}

} // namespace

InvalidParameterHandler SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept
{
    return currentHandler.exchange(handler ? handler : EndProcess);
}

int SecurePrint(WChar* buffer, std::size_t bufferSize, std::size_t maxCount, const WChar* format, ...)
{
    if (!buffer || bufferSize == 0)
    {
        return Refuse(EINVAL, "buffer != nullptr && bufferSize > 0"_w);
    }
    buffer[0] = 0;
    if (!format)
    {
        return Refuse(EINVAL, "format != nullptr"_w);
    }
    const bool cutsQuietly = maxCount == PrintTruncated || maxCount < bufferSize;
    const std::size_t capacity = maxCount < bufferSize ? maxCount + 1 : bufferSize;
    va_list arguments;
    va_start(arguments, format);
    const int length = VPrint(buffer, capacity, format, arguments);
    va_end(arguments);
    if (length < 0)
    {
        buffer[0] = 0;
        return Refuse(EINVAL, "the format is well-formed"_w);
    }
    if (static_cast<std::size_t>(length) < capacity)
    {
        return length;
    }
    if (cutsQuietly)
    {
        return -1;
    }
    buffer[0] = 0;
    return Refuse(ERANGE, "the text fits the buffer"_w);
}

} // namespace Quoll::Utilities
