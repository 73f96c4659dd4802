#include "common/threading/semaphore.h"

#include "common/debug/assert.h"

namespace Tarq::Common::Threading {

using Platform::WaitResult;

namespace {

bool isWaitDone(WaitResult result) {
    if (!TARQ_ASSERT_AS("res != WAIT_FAILED", result != WaitResult::WRESULT_FAILED, "Failed to wait on a semaphore"))
        return false;
    return result == WaitResult::WRESULT_SUCCESS;
}

} // namespace

Semaphore::Semaphore(uint32 initialCount, uint32 maximumCount) : mHandle(initialCount, maximumCount) {
    TARQ_ASSERT(mHandle, "Cannot create semaphore");
}

void Semaphore::wait() {
    isWaitDone(mHandle.wait());
}

bool Semaphore::tryWait() {
    return isWaitDone(mHandle.tryWait());
}

void Semaphore::release() {
    TARQ_ASSERT_AS("res > 0", mHandle.release(), "Cannot release the semaphore");
}

} // namespace Tarq::Common::Threading
