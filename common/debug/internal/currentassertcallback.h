#pragma once

#include "common/callback/assertcallback.h"

namespace Tarq::Common::Debug {

/// The one assertion callback, guarded so that several threads may assert first at once.
///
/// Threads: any. When it is gone, at the end of the process, `show` still reports: through the platform.
class CurrentAssertCallback {
public:
    constexpr CurrentAssertCallback() noexcept : mLock(Threading::cSpinCount) {}
    ~CurrentAssertCallback();
    CurrentAssertCallback(const CurrentAssertCallback&) = delete;
    CurrentAssertCallback& operator=(const CurrentAssertCallback&) = delete;

    void set(const Callback::AssertCallbackPtr& callback);
    const Callback::AssertCallbackPtr& get();
    void show(const char* message, const char* file, unsigned int line);

private:
    Threading::SpinLock mLock;
    Callback::AssertCallbackPtr mCallback;
};

} // namespace Tarq::Common::Debug
