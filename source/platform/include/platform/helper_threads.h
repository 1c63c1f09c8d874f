// The process's one set of helper threads: work that needs a thread for a while gets one there.
//
// Threads are made when work needs them, up to a limit, and never end, because on Windows a thread that ends
// takes its pending I/O with it. Nobody joins them: they work as long as the process lives.
#pragma once

#include <cstdint>

namespace Quoll::Platform
{

/// Above this number of threads work waits until one is free.
inline constexpr std::uint32_t maxHelperThreads = 256;

/// A place in the queue, kept by whoever submits it until `run` is called. It may be submitted again, or
/// freed, from then on.
struct HelperWork
{
    void (*run)(HelperWork& work) noexcept = nullptr;
    HelperWork* next = nullptr; // the queue's own
};

/// Queues work that may run long: it starts after what was submitted before it, on a thread that is free or
/// on a new one. False with the last error if there is no thread and none can be made, and on Linux in the
/// child of a fork, which has none.
bool SubmitHelperWork(HelperWork& work) noexcept;

/// Whether the calling thread is one of them, so that it never ends.
bool IsHelperThread() noexcept;

} // namespace Quoll::Platform
