#include "pipes/PipeText.h"

#include "core/utf/Transcoder.h"

#include <exception>

namespace Quoll::Utilities
{

// A byte gives one unit at most, a unit three bytes.
WString Widen(std::string_view utf8)
{
    WString wide(utf8.size(), WChar());
    wide.resize(Utf::DecodeLenient(utf8, wide.data(), wide.size()).written);
    return wide;
}

std::string Narrow(WStringView wide)
{
    std::string utf8(3 * wide.size(), '\0');
    utf8.resize(Utf::EncodeLenient(wide, utf8.data(), utf8.size()).written);
    return utf8;
}

WString Number(std::uint32_t value)
{
    const std::string digits = std::to_string(value);
    return WString(digits.begin(), digits.end());
}

void WriteLog(const PipeLog& log, const WString& line) noexcept
{
    if (!log)
    {
        return;
    }
    try
    {
        log(line);
    }
    catch (...)
    {
        OutputDebugStringW("The log callback threw\r\n"_w);
    }
}

void WriteDebug(const WString& text) noexcept
{
    OutputDebugStringW(text.c_str());
}

void ReportException(const PipeLog& log, const WString& text) noexcept
try
{
    WString line = text;
    try
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        line += Widen(exception.what());
    }
    catch (...)
    {
        line += "unknown exception"_w;
    }
    WriteLog(log, line);
    WriteDebug(line + "\r\n"_w);
}
catch (...)
{
    WriteDebug(text); // no memory for more
}

WString WithPipePrefix(const WString& name)
{
    return name.starts_with(PIPE_PREFIX) ? name : PIPE_PREFIX + name;
}

HANDLE OpenPipe(const WString& name) noexcept
{
    return ::CreateFileW(name.c_str(), GENERIC_READ | FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES, 0, nullptr,
                         OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
}

} // namespace Quoll::Utilities
