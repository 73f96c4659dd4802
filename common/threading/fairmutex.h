#pragma once

#include "common/export.h"
#include "common/threading/spinlock.h"
#include "common/types.h"

#include <atomic>

namespace Tarq::Common::Threading {

/// A recursive lock that threads get in the order in which they asked for it: who lets go of it and asks again comes
/// behind those that wait already.
///
/// For sections of any length, where one thread would otherwise keep the others out. Without contention neither locking
/// nor unlocking makes a system call.
///
/// Threads: any. Nothing is thrown or asserted. Destroy it while nobody holds it or waits for it.
class TARQ_API FairMutex {
public:
    constexpr FairMutex() noexcept = default;
    FairMutex(const FairMutex&) = delete;
    FairMutex& operator=(const FairMutex&) = delete;

    /// Waits without limit.
    void lock() noexcept;
    /// Lets go once. The caller holds it.
    void unlock() noexcept;
    /// Lets go of it altogether and returns how often the caller, who holds it, had locked it.
    uint32 unlockAll() noexcept;
    /// Waits without limit, and holds it that many times: what `unlockAll` has returned.
    void lockAgain(uint32 depth) noexcept;

    /// Whether the calling thread holds it.
    bool isHeld() const noexcept;
    /// How many threads wait for it at this moment.
    uint32 getWaiterCount() const noexcept;

private:
    struct Waiter;

    mutable SpinLock mGuard{cSpinCount}; ///< of what follows, but for `mDepth`
    std::atomic<uint32> mOwner{0};       ///< token of the thread that holds it, 0 when there is none
    uint32 mDepth = 0;                   ///< how often it has locked; only the owner touches it
    uint32 mWaiterCount = 0;
    Waiter* mFirst = nullptr; ///< who has waited longest
    Waiter* mLast = nullptr;
};

} // namespace Tarq::Common::Threading
