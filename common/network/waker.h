#pragma once

#include "common/platform/wakehandle.h"

namespace Tarq::Common::Network {

/// Ends the waits of a thread when another one has something for it, and costs nothing while it does not wait.
///
/// Where the system does not provide for it, nothing ends a wait. Threads: any; the owner guards each call by the lock
/// that also guards what the thread wakes up for.
class Waker {
public:
    /// A wait begins, after a look at what there is to be done. Returns the handle that has to end it when it can be
    /// read, `cNoSocket` where there is none.
    Platform::SocketHandle beginWait() noexcept;
    /// Ends the wait, if one is under way and nobody has ended it yet.
    void wake() noexcept;
    /// The wait is over. `isReady` says whether the handle could be read, or was refused. A handle that does this
    /// without being asked, or does not do it, is not used any more: it would end every wait. False for such a one.
    bool finishWait(bool isReady) noexcept;

private:
    enum State : uint8 { STATE_AWAY, STATE_WAITING, STATE_WOKEN };

    Platform::WakeHandle mHandle;
    bool mIsUsable = static_cast<bool>(mHandle);
    State mState = STATE_AWAY;
};

} // namespace Tarq::Common::Network
