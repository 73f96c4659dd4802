#pragma once

#include "common/callback/assertcallback.h"

namespace Tarq::Common::Debug {

/// The one assertion callback, guarded so that several threads may assert first at once.
///
/// Threads: any. Empty, it makes the default callback when it is asked; so it needs no end of its own.
class CurrentAssertCallback {
public:
    constexpr CurrentAssertCallback() noexcept : mLock(Threading::cSpinCount) {}
    CurrentAssertCallback(const CurrentAssertCallback&) = delete;
    CurrentAssertCallback& operator=(const CurrentAssertCallback&) = delete;

    void set(const Callback::AssertCallbackPtr& callback);
    /// Throws `OutOfMemoryException` when there is no memory for the default callback.
    const Callback::AssertCallbackPtr& get();
    void show(const char* message, const char* file, unsigned int line);

private:
    /// Null when there is no memory for the default callback.
    const Callback::AssertCallbackPtr* tryGet() noexcept;

    Threading::SpinLock mLock;
    Callback::AssertCallbackPtr mCallback;
};

} // namespace Tarq::Common::Debug
