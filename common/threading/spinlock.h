#pragma once

#include "common/platform/criticalsection.h"

namespace Tarq::Common::Threading {

/// The hot lock of the library: one platform critical section, recursive for the thread that is inside.
///
/// Use it for sections of a few instructions. Threads: any. Nothing is thrown or asserted.
class SpinLock {
public:
    /// A contending thread spins `spinCount` times before it sleeps; the library passes 4000 everywhere.
    explicit constexpr SpinLock(unsigned int spinCount) noexcept : mSection(spinCount) {}

    /// Enters, waiting as long as another thread is inside.
    void lock() noexcept { mSection.lock(); }
    /// Enters if no other thread is inside; returns whether it did.
    bool tryLock() noexcept { return mSection.tryLock(); }
    /// Leaves. The caller is inside.
    void unlock() noexcept { mSection.unlock(); }

private:
    Platform::CriticalSection mSection;
};

/// The spin count of every lock that the library makes for itself.
inline constexpr unsigned int cSpinCount = 4000;

/// Holds a lock from its construction to the end of its scope, whatever leaves the scope.
template <class Lock>
class ScopedLock {
public:
    explicit ScopedLock(Lock& lock) : mLock(lock) { mLock.lock(); }
    ~ScopedLock() { mLock.unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Lock& mLock;
};

} // namespace Tarq::Common::Threading
