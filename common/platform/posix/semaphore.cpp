#include "common/platform/semaphore.h"

#include "common/platform/criticalsection.h"
#include "common/platform/waitaddress.h"

#include <mutex>
#include <new>

namespace Tarq::Common::Platform {

namespace {

constexpr uint32 cSpinCount = 100;
constexpr uint32 cLongestSleepMicroseconds = 0xFFFFFFFF;

/// Not the system's own semaphore: that one knows no maximum below the largest of all, and its count cannot be compared
/// and raised in one step.
///
/// A waiter counts itself and reads `wakeups` inside the guard before it sleeps on it. A release that comes after that
/// changes the word, so the waiter either does not fall asleep or is among those of whom one is woken. All of a release
/// happens inside the guard, so whoever has taken what it added meets nobody in here any more.
struct Semaphore {
    Semaphore(uint32 initial, uint32 theMaximum) noexcept : count(initial), maximum(theMaximum) {}

    CriticalSection guard{cSpinCount};
    std::atomic<uint32> wakeups{0};
    uint32 waiters = 0;
    uint32 count;
    const uint32 maximum;
};

Semaphore& nativeOf(void* storage) noexcept {
    return *std::launder(static_cast<Semaphore*>(storage));
}

} // namespace

SemaphoreHandle::SemaphoreHandle(uint32 initial, uint32 maximum) noexcept
    : mCreated(maximum != 0 && maximum <= cLargestSemaphoreCount && initial <= maximum) {
    static_assert(sizeof(Semaphore) <= sizeof(mStorage) && alignof(Semaphore) <= alignof(void*));
    if (mCreated)
        ::new (static_cast<void*>(mStorage)) Semaphore(initial, maximum);
}

SemaphoreHandle::~SemaphoreHandle() {
    if (mCreated)
        nativeOf(mStorage).~Semaphore();
}

WaitResult SemaphoreHandle::wait() noexcept {
    if (!mCreated)
        return WaitResult::WRESULT_FAILED;
    Semaphore& semaphore = nativeOf(mStorage);
    std::unique_lock inside(semaphore.guard);
    while (semaphore.count == 0) {
        ++semaphore.waiters;
        const uint32 seen = semaphore.wakeups.load(std::memory_order_relaxed);
        inside.unlock();
        waitOnAddress(semaphore.wakeups, seen, cLongestSleepMicroseconds);
        inside.lock();
        --semaphore.waiters;
    }
    --semaphore.count;
    return WaitResult::WRESULT_SUCCESS;
}

WaitResult SemaphoreHandle::tryWait() noexcept {
    if (!mCreated)
        return WaitResult::WRESULT_FAILED;
    Semaphore& semaphore = nativeOf(mStorage);
    const std::scoped_lock inside(semaphore.guard);
    if (semaphore.count == 0)
        return WaitResult::WRESULT_TIMEOUT;
    --semaphore.count;
    return WaitResult::WRESULT_SUCCESS;
}

bool SemaphoreHandle::release() noexcept {
    if (!mCreated)
        return false;
    Semaphore& semaphore = nativeOf(mStorage);
    const std::scoped_lock inside(semaphore.guard);
    if (semaphore.count == semaphore.maximum)
        return false;
    ++semaphore.count;
    if (semaphore.waiters != 0) {
        semaphore.wakeups.fetch_add(1, std::memory_order_relaxed);
        wakeOneOnAddress(&semaphore.wakeups);
    }
    return true;
}

} // namespace Tarq::Common::Platform
