#include "common/debugger/mutexgate.h"

#include "common/debug/assert.h"
#include "common/platform/waitaddress.h"

#include <utility>

namespace Tarq::Common::Debugger {

using Inside = Threading::ScopedLock<Threading::SpinLock>;

namespace {

/// A wake-up cannot be missed here; this is only how long one call of the system lasts.
constexpr uint32 cSleepMicroseconds = 1000000;

/// Says what a mutex says to a thread that does not own it. The condition is one that tools know.
bool reportNotOwned() {
    return TARQ_ASSERT_AS("res", false, "Mutex is not owned, so it cannot be unlocked");
}

} // namespace

/// Lies on the stack of the thread that waits.
struct MutexGate::Waiter {
    uint32 thread;
    Waiter* next = nullptr;
    bool isRegistered = false; ///< of one in front of the gate: whether it is its turn
    std::atomic<uint32> isReleased{0};

    void wait() const noexcept {
        while (isReleased.load(std::memory_order_acquire) == 0)
            Platform::waitOnAddress(isReleased, 0, cSleepMicroseconds);
    }
};

void MutexGate::activate() {
    const uint32 self = Platform::getThreadToken();
    bool wasActive = false;
    bool isForeign = false;
    {
        const Inside inside(mGuard);
        wasActive = isActivated();
        isForeign = mOwner != 0 && mOwner != self;
        if (!wasActive && !isForeign) {
            mOwner = self;
            mActive.store(true, std::memory_order_release);
        }
    }
    // The callback of an assertion may call the gate.
    if (!TARQ_ASSERT_AS("mActive == false", !wasActive, "Tried to activate MutexGate for second time"))
        return;
    TARQ_ASSERT_AS(nullptr, !isForeign, "Public gate was already locked");
}

void MutexGate::deactivate() {
    bool wasActive = false;
    bool isOwned = false;
    {
        const Inside inside(mGuard);
        wasActive = isActivated();
        isOwned = mOwner == Platform::getThreadToken();
        if (wasActive && isOwned) {
            mActive.store(false, std::memory_order_release);
            if (mPublic == 0)
                mOwner = 0;
        }
    }
    if (!TARQ_ASSERT_AS("mActive == true", wasActive, "Tried to deactivate MutexGate that wasn't active"))
        return;
    if (!isOwned)
        reportNotOwned();
}

bool MutexGate::registerPublic() {
    Waiter waiter{Platform::getThreadToken()};
    {
        const Inside inside(mGuard);
        if (mPublic == 0 || !isActivated() || mOwner == waiter.thread)
            return admit(waiter.thread);
    }
    TARQ_ASSERT_AS("mPublicCount == 0", false, "Public gate is already occupied");
    {
        const Inside inside(mGuard);
        // Nobody waits for itself.
        if (mPublic == 0 || mPublic == waiter.thread || !isActivated())
            return mPublic == 0 && admit(waiter.thread);
        (mLast ? mLast->next : mFirst) = &waiter;
        mLast = &waiter;
    }
    waiter.wait();
    return waiter.isRegistered;
}

void MutexGate::waitForPass() {
    Waiter waiter{Platform::getThreadToken()};
    {
        const Inside inside(mGuard);
        if (mPublic != waiter.thread)
            return;
        mWaiter = &waiter;
    }
    waiter.wait();
}

void MutexGate::leavePublic() {
    Waiter* released = nullptr;
    {
        const Inside inside(mGuard);
        if (mPublic == Platform::getThreadToken())
            released = letOut();
    }
    wake(released);
}

bool MutexGate::allowOnePublicPass() {
    Waiter* released = nullptr;
    bool isOccupied = false;
    bool isOwned = false;
    {
        const Inside inside(mGuard);
        isOccupied = mPublic != 0;
        isOwned = mOwner == Platform::getThreadToken();
        if (isOccupied && isOwned)
            released = letOut();
    }
    wake(released);
    if (!TARQ_ASSERT_AS("mPublicCount == 1", isOccupied,
                        "A public thread has to be waiting at the gate to allow a secure public pass"))
        return false;
    return isOwned || reportNotOwned();
}

void MutexGate::close() {
    Waiter* released = nullptr;
    {
        const Inside inside(mGuard);
        mActive.store(false, std::memory_order_release);
        released = letOut();
    }
    wake(released);
}

/// Registers the thread where it has something to wait for; under the guard.
bool MutexGate::admit(uint32 thread) noexcept {
    if (!isActivated() || mOwner == thread)
        return false;
    mPublic = thread;
    return true;
}

/// Ends the registration. The next one in front of the gate has its turn, or all go when there is no gate any more.
/// Under the guard; returns whom to wake behind it.
MutexGate::Waiter* MutexGate::letOut() noexcept {
    mPublic = 0;
    Waiter* const released = std::exchange(mWaiter, nullptr);
    Waiter* const next = mFirst;
    if (!isActivated()) {
        mOwner = 0;
        mFirst = nullptr;
    } else if (next) {
        mFirst = std::exchange(next->next, nullptr);
        next->isRegistered = admit(next->thread);
    }
    if (!mFirst)
        mLast = nullptr;
    if (!released)
        return next;
    released->next = next;
    return released;
}

/// From the store on, a thread may be gone with its waiter, and the gate with the thread.
void MutexGate::wake(Waiter* released) noexcept {
    while (released) {
        Waiter* const next = released->next;
        const std::atomic<uint32>* const address = &released->isReleased;
        released->isReleased.store(1, std::memory_order_release);
        Platform::wakeOneOnAddress(address);
        released = next;
    }
}

} // namespace Tarq::Common::Debugger
