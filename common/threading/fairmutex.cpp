#include "common/threading/fairmutex.h"

#include "common/platform/waitaddress.h"

namespace Tarq::Common::Threading {

namespace {

/// A wake-up cannot be missed here; this is only how long one call of the system lasts.
constexpr uint32 cSleepMicroseconds = 1000000;

} // namespace

/// Lies on the stack of the thread that waits.
struct FairMutex::Waiter {
    uint32 token;
    Waiter* next = nullptr;
    std::atomic<uint32> isOwner{0};
};

void FairMutex::lock() noexcept {
    const uint32 self = Platform::getThreadToken();
    if (mOwner.load(std::memory_order_relaxed) == self) {
        ++mDepth;
        return;
    }
    Waiter waiter{self};
    {
        const ScopedLock inside(mGuard);
        if (mOwner.load(std::memory_order_relaxed) == 0) {
            mOwner.store(self, std::memory_order_relaxed);
            mDepth = 1;
            return;
        }
        (mLast ? mLast->next : mFirst) = &waiter;
        mLast = &waiter;
        ++mWaiterCount;
    }
    while (waiter.isOwner.load(std::memory_order_acquire) == 0)
        Platform::waitOnAddress(waiter.isOwner, 0, cSleepMicroseconds);
    mDepth = 1;
}

void FairMutex::unlock() noexcept {
    if (--mDepth != 0)
        return;
    const std::atomic<uint32>* address = nullptr;
    {
        const ScopedLock inside(mGuard);
        Waiter* const next = mFirst;
        mOwner.store(next ? next->token : 0, std::memory_order_relaxed);
        if (!next)
            return;
        mFirst = next->next;
        if (!mFirst)
            mLast = nullptr;
        --mWaiterCount;
        // From this store on the waiter may be gone, and with it the mutex as soon as the guard is left.
        address = &next->isOwner;
        next->isOwner.store(1, std::memory_order_release);
    }
    Platform::wakeOneOnAddress(address);
}

uint32 FairMutex::unlockAll() noexcept {
    const uint32 depth = mDepth;
    mDepth = 1;
    unlock();
    return depth;
}

void FairMutex::lockAgain(uint32 depth) noexcept {
    lock();
    mDepth += depth - 1;
}

bool FairMutex::isHeld() const noexcept {
    return mOwner.load(std::memory_order_relaxed) == Platform::getThreadToken();
}

uint32 FairMutex::getWaiterCount() const noexcept {
    const ScopedLock inside(mGuard);
    return mWaiterCount;
}

} // namespace Tarq::Common::Threading
