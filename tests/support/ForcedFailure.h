// Makes platform calls fail at will, in the test program alone.
//
//     {
//         ForcedFailure failure(ForcedCall::CreateEventW, ERROR_TOO_MANY_OPEN_FILES, {.nth = 2});
//         EXPECT_THROW(MakeTwoEvents(), Win32Exception);
//         EXPECT_EQ(failure.Failures(), 1u);
//     }
//
// Calls are counted while the object lives. ForcedCalls.def lists the calls; a new one is one line
// there.
#pragma once

#include "support/ChildProcess.h"

#include <windows.h>

#include <cstddef>
#include <utility>

namespace Quoll::Tests
{

enum class ForcedCall
{
#define CALL(result, name, ...) name,
#include "support/ForcedCalls.def"
#undef CALL
};

enum class FailingThreads
{
    All,
    Calling, ///< only the thread that made the ForcedFailure
    Others   ///< all but that thread
};

struct ForcedFailureOptions
{
    std::size_t nth = 1; ///< the first call that fails, counted from 1
    bool later = false;  ///< the calls after it fail as well
    FailingThreads threads = FailingThreads::All;
};

/// From construction to destruction, the n-th call fails with the code. One at a time for a call.
class ForcedFailure
{
public:
    ForcedFailure(ForcedCall call, DWORD code, const ForcedFailureOptions& options = {});
    ~ForcedFailure();
    ForcedFailure(const ForcedFailure&) = delete;
    ForcedFailure& operator=(const ForcedFailure&) = delete;

    std::size_t Failures() const; ///< how many calls were made to fail

private:
    ForcedCall m_call;
};

/// For the environment of a ChildProcess: all calls fail there from its first instruction on,
/// static initialisation included.
std::pair<std::string, std::string> ForcedFromTheStart(ForcedCall call, DWORD code);

} // namespace Quoll::Tests
