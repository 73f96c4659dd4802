#include "common/network/waker.h"

#include <utility>

namespace Tarq::Common::Network {

Platform::SocketHandle Waker::beginWait() noexcept {
    if (!mIsUsable)
        return Platform::cNoSocket;
    mState = STATE_WAITING;
    return mHandle.getHandle();
}

void Waker::wake() noexcept {
    if (mState != STATE_WAITING)
        return;
    // Also after a failure: it would be the same for those who come next.
    mState = STATE_WOKEN;
    mHandle.signal();
}

bool Waker::finishWait(bool isReady) noexcept {
    const State state = std::exchange(mState, STATE_AWAY);
    // One that was signalled can be cleared, also when the wait has ended before it.
    if (state == STATE_WOKEN)
        mIsUsable = mHandle.clear();
    else if (isReady)
        mIsUsable = false;
    return mIsUsable;
}

} // namespace Tarq::Common::Network
