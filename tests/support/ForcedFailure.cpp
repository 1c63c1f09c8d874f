#include "support/ForcedFailure.h"

#include "support/WrappedCall.h"

#include <rpc.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <stdexcept>

namespace Quoll::Tests
{

namespace
{

constexpr const char* Names[] = {
#define CALL(result, name, ...) #name,
#include "support/ForcedCalls.def"
#undef CALL
};

constexpr const char* FromTheStart = "QUOLL_TESTS_FAILING_CALL";

struct Plan
{
    std::atomic<bool> armed = false;
    DWORD code = 0;
    ForcedFailureOptions options;
    const void* thread = nullptr;
    std::size_t calls = 0;
    std::size_t failures = 0;
};

// Ready before any static initialisation runs.
constinit std::array<Plan, std::size(Names)> plans;
constinit std::once_flag environmentRead;

std::mutex& PlansLock()
{
    static std::mutex lock;
    return lock;
}

const void* ThisThread()
{
    static thread_local char identity;
    return &identity;
}

Plan& PlanOf(ForcedCall call)
{
    return plans[static_cast<std::size_t>(call)];
}

void ReadEnvironment()
{
    const char* text = std::getenv(FromTheStart);
    unsigned call = 0;
    unsigned code = 0;
    if (text != nullptr && std::sscanf(text, "%u:%u", &call, &code) == 2 && call < plans.size())
    {
        plans[call].code = code;
        plans[call].options.later = true;
        plans[call].armed = true;
    }
}

bool Concerns(const Plan& plan)
{
    return plan.options.threads == FailingThreads::All ||
           (plan.options.threads == FailingThreads::Calling) == (plan.thread == ThisThread());
}

// Sets the last error only if the call is to fail.
bool Fails(ForcedCall call)
{
    std::call_once(environmentRead, ReadEnvironment);
    Plan& plan = PlanOf(call);
    if (!plan.armed)
    {
        return false;
    }
    const std::lock_guard lock(PlansLock());
    if (!plan.armed || !Concerns(plan))
    {
        return false;
    }
    ++plan.calls;
    if (plan.calls < plan.options.nth || (plan.calls > plan.options.nth && !plan.options.later))
    {
        return false;
    }
    ++plan.failures;
    SetLastError(plan.code);
    return true;
}

} // namespace

ForcedFailure::ForcedFailure(ForcedCall call, DWORD code, const ForcedFailureOptions& options)
    : m_call(call)
{
    const std::lock_guard lock(PlansLock());
    Plan& plan = PlanOf(call);
    if (plan.armed)
    {
        throw std::logic_error(std::string("a failure is already forced for ") + Names[static_cast<std::size_t>(call)]);
    }
    plan.code = code;
    plan.options = options;
    plan.thread = ThisThread();
    plan.calls = 0;
    plan.failures = 0;
    plan.armed = true;
}

ForcedFailure::~ForcedFailure()
{
    const std::lock_guard lock(PlansLock());
    PlanOf(m_call).armed = false;
}

std::size_t ForcedFailure::Failures() const
{
    const std::lock_guard lock(PlansLock());
    return PlanOf(m_call).failures;
}

std::pair<std::string, std::string> ForcedFromTheStart(ForcedCall call, DWORD code)
{
    return {FromTheStart, std::to_string(static_cast<unsigned>(call)) + ":" + std::to_string(code)};
}

} // namespace Quoll::Tests

#define CALL(result, name, failed, parameters, arguments)                                                              \
    WRAPPED_CALL(result, name, parameters)                                                                             \
    {                                                                                                                  \
        return Quoll::Tests::Fails(Quoll::Tests::ForcedCall::name) ? failed : REAL_CALL(name) arguments;               \
    }
#include "support/ForcedCalls.def"
