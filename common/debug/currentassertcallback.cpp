#include "common/debug/internal/currentassertcallback.h"

#include "common/debug/internal/nestingguard.h"
#include "common/memory/allocate.h"
#include "common/platform/assertreport.h"

#include <new>

namespace Tarq::Common::Debug {

namespace {

constexpr uint32 cDeepestAssertion = 3;

/// The assertions inside each other on this thread: a callback may fail one itself.
thread_local constinit uint32 tDepth = 0;

} // namespace

void CurrentAssertCallback::set(const Callback::AssertCallbackPtr& callback) {
    // The old callback is deleted outside the lock: its destructor is the host's.
    Callback::AssertCallbackPtr exchanged = callback;
    const Threading::ScopedLock inside(mLock);
    mCallback.swap(exchanged);
}

const Callback::AssertCallbackPtr& CurrentAssertCallback::get() {
    const Callback::AssertCallbackPtr* const callback = tryGet();
    if (!callback)
        Memory::throwOutOfMemory();
    return *callback;
}

const Callback::AssertCallbackPtr* CurrentAssertCallback::tryGet() noexcept {
    const Threading::ScopedLock inside(mLock);
    if (!mCallback) {
        auto* const made = new (std::nothrow) Callback::AssertCallback;
        if (!made)
            return nullptr;
        mCallback = made;
    }
    return &mCallback;
}

void CurrentAssertCallback::show(const char* message, const char* file, unsigned int line) {
    if (tDepth == cDeepestAssertion)
        return;
    const NestingGuard nesting(tDepth);
    Callback::AssertCallbackPtr callback;
    {
        const Threading::ScopedLock inside(mLock);
        if (const Callback::AssertCallbackPtr* const current = tryGet())
            callback = *current;
    }
    // Without memory for the default callback, what it would do is done here.
    if (!callback)
        Platform::reportAssertionAndEnd(message, file, line);
    callback->showAssert(message, file, line);
}

} // namespace Tarq::Common::Debug
