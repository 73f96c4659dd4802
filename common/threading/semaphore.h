#pragma once

#include "common/export.h"
#include "common/platform/semaphore.h"
#include "common/types.h"

namespace Tarq::Common::Threading {

/// A count that threads wait for: waiting takes one off, releasing adds one.
///
/// Threads: any. Nothing is thrown. Destroy it while nobody waits; a thread that has come out of its wait may do so at
/// once, even if the one that released is still on its way out.
class TARQ_API Semaphore {
public:
    static constexpr uint32 cMaximumCount = Platform::cLargestSemaphoreCount;

    /// Asserts "Cannot create semaphore" if `initialCount` is above `maximumCount`, or that 0 or above `cMaximumCount`;
    /// every operation then fails.
    explicit Semaphore(uint32 initialCount = 0, uint32 maximumCount = cMaximumCount);
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Waits without limit until the count is above 0, and takes one off.
    ///
    /// Asserts "Failed to wait on a semaphore" when the semaphore could not be made; returns at once then.
    void wait();
    /// Takes one off if the count is above 0, and returns whether it did. Asserts as `wait` does; returns false then.
    bool tryWait();
    /// Adds one. Asserts "Cannot release the semaphore" when the count is at its maximum; nothing changes then.
    void release();

private:
    Platform::SemaphoreHandle mHandle;
};

} // namespace Tarq::Common::Threading
