// Collects lines of wide text: those of a log callback, or what goes to the debugger.
#pragma once

#include "Quoll/WideString.h"

#include <functional>
#include <memory>
#include <vector>

namespace Quoll::Tests
{

/// A collector that many threads may write to. Callbacks stay valid after the object is gone.
class LogCapture
{
public:
    LogCapture();

    std::function<void(const WString&)> Callback() const;

    std::vector<WString> Lines() const;
    std::size_t Count(WStringView piece) const; ///< lines that contain the piece
    bool Contains(WStringView piece) const
    {
        return Count(piece) != 0;
    }
    void Clear();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

/// Catches what this process hands to OutputDebugStringW while the object lives; one at a time.
class DebugOutputCapture : public LogCapture
{
public:
    DebugOutputCapture();
    ~DebugOutputCapture();
    DebugOutputCapture(const DebugOutputCapture&) = delete;
    DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;
};

} // namespace Quoll::Tests
