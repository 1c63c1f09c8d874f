#include "support/LogCapture.h"

#include "support/WrappedCall.h"

#include <algorithm>
#include <mutex>

namespace Quoll::Tests
{

struct LogCapture::State
{
    std::mutex lock;
    std::vector<WString> lines;
};

LogCapture::LogCapture()
    : m_state(std::make_shared<State>())
{
}

std::function<void(const WString&)> LogCapture::Callback() const
{
    return [state = m_state](const WString& line) {
        const std::lock_guard lock(state->lock);
        state->lines.push_back(line);
    };
}

std::vector<WString> LogCapture::Lines() const
{
    const std::lock_guard lock(m_state->lock);
    return m_state->lines;
}

std::size_t LogCapture::Count(WStringView piece) const
{
    const std::lock_guard lock(m_state->lock);
    return static_cast<std::size_t>(
        std::ranges::count_if(m_state->lines, [&](const WString& line) { return line.find(piece) != WString::npos; }));
}

void LogCapture::Clear()
{
    const std::lock_guard lock(m_state->lock);
    m_state->lines.clear();
}

namespace
{

std::mutex debugOutputLock;
std::function<void(const WString&)> debugOutput;

bool TakeDebugOutput(LPCWSTR text)
{
    const std::lock_guard lock(debugOutputLock);
    if (debugOutput && text != nullptr)
    {
        debugOutput(text);
    }
    return debugOutput != nullptr;
}

} // namespace

DebugOutputCapture::DebugOutputCapture()
{
    const std::lock_guard lock(debugOutputLock);
    debugOutput = Callback();
}

DebugOutputCapture::~DebugOutputCapture()
{
    const std::lock_guard lock(debugOutputLock);
    debugOutput = nullptr;
}

} // namespace Quoll::Tests

WRAPPED_CALL(void, OutputDebugStringW, (LPCWSTR text))
{
    if (!Quoll::Tests::TakeDebugOutput(text))
    {
        REAL_CALL(OutputDebugStringW)(text);
    }
}
