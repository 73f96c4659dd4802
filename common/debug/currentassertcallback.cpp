#include "common/debug/internal/currentassertcallback.h"

namespace Tarq::Common::Debug {

void CurrentAssertCallback::set(const Callback::AssertCallbackPtr& callback) {
    // The old callback is deleted outside the lock: its destructor is the host's.
    Callback::AssertCallbackPtr exchanged = callback;
    const Threading::ScopedLock inside(mLock);
    mCallback.swap(exchanged);
}

const Callback::AssertCallbackPtr& CurrentAssertCallback::get() {
    const Threading::ScopedLock inside(mLock);
    if (!mCallback)
        mCallback = new Callback::AssertCallback;
    return mCallback;
}

void CurrentAssertCallback::show(const char* message, const char* file, unsigned int line) {
    Callback::AssertCallbackPtr callback;
    {
        const Threading::ScopedLock inside(mLock);
        callback = get();
    }
    callback->showAssert(message, file, line);
}

} // namespace Tarq::Common::Debug
