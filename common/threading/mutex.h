#pragma once

#include "common/export.h"
#include "common/platform/mutex.h"

namespace Tarq::Common::Threading {

/// A recursive lock for sections of any length: one system mutex, which waits in the kernel.
///
/// The owner may lock it again and unlocks it as often. When a thread ends while it holds the mutex, the next one that
/// locks it gets it all the same, and the loss is reported: what the mutex guards may be half done.
///
/// Threads: any. Nothing is thrown. Destroy it while no other thread holds it or waits for it: a thread that holds it
/// is linked to its bytes, and writes to them when it locks another mutex, lets go of one, or ends.
class TARQ_API Mutex {
public:
    /// Nobody holds it. Asserts "Cannot create mutex" when the system refuses; every operation then fails.
    Mutex();
    /// Asserts "Mutex is destroyed while another thread holds it".
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits without limit.
    ///
    /// Asserts "Previously owning thread of the mutex has been destroyed before he could unlock the mutex": the caller
    /// owns it then. Asserts "Lock on a mutex failed" when the mutex could not be made or has been locked too often
    /// (4294967295 times); the caller does not own it then, or not once more.
    void lock() {
        const Platform::WaitResult result = mHandle.lock();
        if (result != Platform::WaitResult::WRESULT_SUCCESS) [[unlikely]]
            reportLock(result);
    }
    /// Locks it if that needs no waiting, and returns whether it did.
    ///
    /// Asserts "Lock on mutex failed" and returns false when the system refuses, and when the owner has ended while it
    /// held the mutex, which nobody holds then.
    bool tryLock();
    /// Lets go once. Asserts "Mutex is not owned, so it cannot be unlocked"; nothing changes then.
    void unlock() {
        if (!mHandle.unlock()) [[unlikely]]
            reportUnlock();
    }

private:
    static void reportLock(Platform::WaitResult result);
    static void reportUnlock();

    Platform::MutexHandle mHandle;
};

} // namespace Tarq::Common::Threading
