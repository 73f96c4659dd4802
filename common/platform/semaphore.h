#pragma once

#include "common/export.h"
#include "common/platform/mutex.h"
#include "common/types.h"

namespace Tarq::Common::Platform {

/// The largest count that a semaphore can be given.
inline constexpr uint32 cLargestSemaphoreCount = 0x7FFFFFFE;

/// A counting semaphore with a maximum.
///
/// Threads: any. A thread that has come out of a wait may destroy it at once, if it knows that nobody else waits.
class TARQ_API SemaphoreHandle {
public:
    /// False when tested if `maximum` is 0 or above `cLargestSemaphoreCount`, if `initial` is above `maximum`, or if
    /// the system refused; every operation fails then.
    SemaphoreHandle(uint32 initial, uint32 maximum) noexcept;
    /// Nobody waits.
    ~SemaphoreHandle();
    SemaphoreHandle(const SemaphoreHandle&) = delete;
    SemaphoreHandle& operator=(const SemaphoreHandle&) = delete;

    explicit operator bool() const noexcept { return mCreated; }

    /// Waits without limit until the count is above 0, and takes one.
    WaitResult wait() noexcept;
    /// The same without waiting.
    WaitResult tryWait() noexcept;
    /// Adds one. Returns false, and changes nothing, if the count is at its maximum.
    bool release() noexcept;

private:
    alignas(void*) unsigned char mStorage[40]; ///< the platform's object
    bool mCreated;
};

} // namespace Tarq::Common::Platform
