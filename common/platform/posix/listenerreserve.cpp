#include "common/platform/criticalsection.h"
#include "common/platform/posix/socketcall.h"

#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

struct Reserve {
    CriticalSection lock{4000};
    uint32 listeners = 0;
    int descriptor = -1; ///< also when the system had none to keep
};

constinit Reserve gReserve;

class ReserveLock {
public:
    ReserveLock() noexcept { gReserve.lock.lock(); }
    ~ReserveLock() { gReserve.lock.unlock(); }
    ReserveLock(const ReserveLock&) = delete;
    ReserveLock& operator=(const ReserveLock&) = delete;
};

void takeDescriptor() noexcept {
    // Needs no file, no address and no permission.
    if (gReserve.descriptor < 0)
        gReserve.descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void giveDescriptor() noexcept {
    if (gReserve.descriptor >= 0)
        close(gReserve.descriptor);
    gReserve.descriptor = -1;
}

} // namespace

void ListenerReserve::addListener() noexcept {
    const ReserveLock inside;
    ++gReserve.listeners;
    takeDescriptor();
}

void ListenerReserve::removeListener() noexcept {
    const ReserveLock inside;
    if (--gReserve.listeners == 0)
        giveDescriptor();
}

SocketError ListenerReserve::refuseConnection(int listener) noexcept {
    const ReserveLock inside;
    // Another thread may have taken the place when it was free for a moment; it may be free again.
    takeDescriptor();
    giveDescriptor();
    const int connection =
        uninterrupted([&] { return accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC); });
    const SocketError error = connection < 0 ? lastSocketErrorOf(connection) : SocketError::SOCKET_ERROR_TOO_MANY_OPEN;
    if (connection >= 0)
        close(connection);
    takeDescriptor();
    return error;
}

} // namespace Tarq::Common::Platform
