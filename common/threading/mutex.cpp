#include "common/threading/mutex.h"

#include "common/debug/assert.h"

namespace Tarq::Common::Threading {

using Platform::WaitResult;

Mutex::Mutex() {
    TARQ_ASSERT(mHandle, "Cannot create mutex");
}

Mutex::~Mutex() {
    // What was taken here, the handle lets go of.
    if (mHandle.tryLock() == WaitResult::WRESULT_TIMEOUT)
        TARQ_FAIL("Mutex is destroyed while another thread holds it");
}

bool Mutex::tryLock() {
    const WaitResult result = mHandle.tryLock();
    if (result == WaitResult::WRESULT_SUCCESS)
        return true;
    if (result == WaitResult::WRESULT_TIMEOUT)
        return false;
    // A caller that is told "false" will not unlock what the dead owner has left it.
    if (result == WaitResult::WRESULT_ABANDONED)
        mHandle.unlock();
    return TARQ_FAIL("Lock on mutex failed");
}

void Mutex::reportLock(WaitResult result) {
    switch (result) {
    case WaitResult::WRESULT_ABANDONED:
        TARQ_FAIL("Previously owning thread of the mutex has been destroyed before he could unlock the mutex");
        break;
    case WaitResult::WRESULT_FAILED:
        TARQ_FAIL("Lock on a mutex failed");
        break;
    default:
        TARQ_FAIL("Lock failed");
    }
}

void Mutex::reportUnlock() {
    TARQ_ASSERT_AS("res", false, "Mutex is not owned, so it cannot be unlocked");
}

} // namespace Tarq::Common::Threading
