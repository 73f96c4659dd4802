#pragma once

#include "common/export.h"
#include "common/types.h"

#include <atomic>

namespace Tarq::Common::Platform {

/// A number that no other living thread of the process has; never 0.
TARQ_API uint32 getThreadToken() noexcept;

/// A recursive lock for short sections: spins for a while, then sleeps in the kernel.
///
/// Without contention neither entering nor leaving makes a system call: entering is one compare-and-swap, leaving is
/// one plain store. After that store nothing of the object is touched (when somebody waits, its address is still handed
/// to the kernel), so the thread that enters next may destroy it.
///
/// How a sleeper cannot be forgotten. Leaving looks at the waiter count first and stores second, so a thread that
/// begins to wait between the two is not woken. A sleeper therefore never trusts the wake-up alone: it sleeps for a
/// short while, looks at the lock again, and sleeps for twice as long the next time. What it can lose is bounded by the
/// time for which the leaving thread was held up between its load and its store, and a thread that leaves later sees
/// the count.
///
/// Threads: any. The destructor requires that nobody is inside or waiting.
class TARQ_API CriticalSection {
public:
    /// A contending thread spins `spinCount` times before it sleeps, and looks at the lock ever more seldom meanwhile.
    explicit constexpr CriticalSection(uint32 spinCount) noexcept : mSpinCount(spinCount) {}
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    /// Enters; a thread that is already inside enters once more.
    void lock() noexcept;
    /// Enters if that needs no waiting, and returns whether it did.
    bool tryLock() noexcept;
    /// Leaves. The caller is inside; as often as it entered, it leaves.
    void unlock() noexcept {
        if (mRecursion != 0) [[unlikely]] {
            --mRecursion;
            return;
        }
        const bool mustWake = mWaiters.load(std::memory_order_relaxed) != 0;
        const std::atomic<uint32>* const address = &mOwner;
        mOwner.store(0, std::memory_order_release);
        if (mustWake) [[unlikely]]
            wakeWaiter(address);
    }

private:
    void lockContended(uint32 self) noexcept;
    static void wakeWaiter(const std::atomic<uint32>* address) noexcept;

    std::atomic<uint32> mOwner{0};   ///< token of the thread inside, 0 when there is none
    std::atomic<uint32> mWaiters{0}; ///< threads that sleep or are about to
    uint32 mRecursion = 0;           ///< entries of the owner beyond the first; only the owner touches it
    uint32 mSpinCount;
};

} // namespace Tarq::Common::Platform
