#pragma once

#include "common/export.h"
#include "common/platform/socket.h"

namespace Tarq::Common::Platform {

/// Ends the `pollSockets` of another thread.
///
/// Threads: any; one clears it.
class TARQ_API WakeHandle {
public:
    /// False when tested if the system refused; every operation fails then.
    WakeHandle() noexcept;
    /// Nobody waits for it.
    ~WakeHandle();
    WakeHandle(const WakeHandle&) = delete;
    WakeHandle& operator=(const WakeHandle&) = delete;

    explicit operator bool() const noexcept { return mHandle != cNoSocket; }
    /// For `pollSockets`, wanted to read: ready from a `signal` until it is cleared. `cNoSocket` if the system refused.
    SocketHandle getHandle() const noexcept { return mHandle; }

    /// Returns whether the handle is ready now. Does not wait.
    bool signal() noexcept;
    /// Undoes every `signal` before. False when there was none, or after a failure. Does not wait.
    bool clear() noexcept;

private:
    SocketHandle mHandle;
};

} // namespace Tarq::Common::Platform
