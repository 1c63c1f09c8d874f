// Makes the host's transfers fall short or fail, in the test program alone.
//
//     ForcedTransfers steps({3, -EINTR, -EIO});
//
// The calling thread's next read, write, copy or flush of a file does at most three bytes, the next ones
// fail with those codes, and all others do as they always do.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace Quoll::Tests
{

class ForcedTransfers
{
public:
    explicit ForcedTransfers(std::vector<int> steps);
    ~ForcedTransfers();
    ForcedTransfers(const ForcedTransfers&) = delete;
    ForcedTransfers& operator=(const ForcedTransfers&) = delete;

    std::size_t Left() const noexcept; ///< steps that no call has come for

    std::function<void()> AtTransfer; ///< what happens just before each call

    /// For the calls: how much of `size` may be done; -1 with errno set for a failure.
    static long Allow(std::size_t size);

private:
    std::vector<int> m_steps;
    std::size_t m_done = 0;
};

} // namespace Quoll::Tests
