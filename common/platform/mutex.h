#pragma once

#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common::Platform {

/// How a wait ended.
enum class WaitResult : uint8 {
    WRESULT_SUCCESS,   ///< the caller has what it waited for
    WRESULT_ABANDONED, ///< the same, but the owner before the caller ended without letting go
    WRESULT_TIMEOUT,
    WRESULT_FAILED,
};

/// The system's own mutex: recursive, and it knows when its owner has ended.
///
/// Waits in the kernel, so it suits sections of any length, and debugging tools know it. Threads: any.
class TARQ_API MutexHandle {
public:
    /// Nobody holds it. False when tested if the system refused; every operation fails then.
    MutexHandle() noexcept;
    /// The calling thread may still hold it; no other thread may hold it or wait for it.
    ~MutexHandle();
    MutexHandle(const MutexHandle&) = delete;
    MutexHandle& operator=(const MutexHandle&) = delete;

    explicit operator bool() const noexcept;

    /// Waits without limit; an owner comes in once more. After `WRESULT_ABANDONED` the mutex is as good as before.
    WaitResult lock() noexcept {
        const int outcome = mLock(mStorage);
        return outcome == 0 ? WaitResult::WRESULT_SUCCESS : finishWait(outcome);
    }
    /// The same without waiting.
    WaitResult tryLock() noexcept;
    /// Lets go once. Returns false, and changes nothing, if the caller does not hold it.
    bool unlock() noexcept { return mUnlock(mStorage) == 0; }

private:
    /// 0 is success, anything else the system's own error number.
    using Call = int (*)(void* storage);

    WaitResult finishWait(int outcome) noexcept;

    alignas(void*) unsigned char mStorage[48]; ///< the system's object
    /// The system's functions themselves: a step between the caller and them would cost a tenth of a lock.
    Call mLock;
    Call mUnlock;
};

} // namespace Tarq::Common::Platform
