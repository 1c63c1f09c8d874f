// Debugger output: the system log, at debug level.
#include "core/utf/Transcoder.h"

#include <windows.h>

#include <array>
#include <string_view>

#include <syslog.h>

void OutputDebugStringW(LPCWSTR text) noexcept
{
    if (text == nullptr)
    {
        return;
    }
    // A line of the log has a bound anyway; what is longer comes in several.
    std::array<char, 4096> line{};
    Quoll::WStringView rest(text);
    do
    {
        const auto done = Quoll::Utf::EncodeLenient(rest, line.data(), line.size());
        syslog(LOG_USER | LOG_DEBUG, "%.*s", static_cast<int>(done.written), line.data());
        rest.remove_prefix(done.read);
    } while (!rest.empty());
}
