// Small pieces that the pipe classes share: text of log lines, and which errors mean what.
#pragma once

#include "Quoll/WideString.h"

#include <windows.h>

#include <functional>
#include <string>
#include <string_view>

namespace Quoll::Utilities
{

using PipeLog = std::function<void(const WString&)>;

// Conversions for texts that only people read, and for what a peer sent: they never throw for
// ill-formed text.
WString Widen(std::string_view utf8);
std::string Narrow(WStringView wide);

WString Number(std::uint32_t value);

// Calls the log callback; what it throws goes no further.
void WriteLog(const PipeLog& log, const WString& line) noexcept;

// Tells the debugger.
void WriteDebug(const WString& text) noexcept;

// Inside a handler: tells the log and the debugger what was thrown, behind the given text.
void ReportException(const PipeLog& log, const WString& text) noexcept;

// The other side has gone: no failure of the library.
constexpr bool IsGoneSide(DWORD error) noexcept
{
    return error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED || error == ERROR_INVALID_HANDLE;
}

constexpr WideLiteral PIPE_PREFIX = "\\\\.\\pipe\\"_w;

// The name with the platform's prefix in front, unless it begins with it.
WString WithPipePrefix(const WString& name);

// A pipe's client end, opened as all clients open it; INVALID_HANDLE_VALUE with the last error.
HANDLE OpenPipe(const WString& name) noexcept;

} // namespace Quoll::Utilities
