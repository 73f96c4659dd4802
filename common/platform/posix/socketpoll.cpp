#include "common/platform/clock.h"
#include "common/platform/posix/socketcall.h"

#include <algorithm>
#include <array>
#include <ctime>

#include <poll.h>

namespace Tarq::Common::Platform {

namespace {

short eventsOf(Readiness wanted) noexcept {
    const int events = (wanted & READY_TO_READ ? POLLIN : 0) | (wanted & READY_TO_WRITE ? POLLOUT : 0) |
                       (wanted & READY_TO_FAIL ? POLLPRI : 0);
    return static_cast<short>(events);
}

/// A hang-up, a failure and a closed descriptor are reported unasked. They count for everything that is wanted: who is
/// woken has a reason.
Readiness readinessOf(short events, Readiness wanted) noexcept {
    constexpr int cUnasked = POLLERR | POLLHUP | POLLNVAL;
    const int ready = (events & (POLLIN | cUnasked) ? READY_TO_READ : 0) |
                      (events & (POLLOUT | cUnasked) ? READY_TO_WRITE : 0) |
                      (events & (POLLPRI | cUnasked) ? READY_TO_FAIL : 0);
    return static_cast<Readiness>(ready & wanted);
}

/// Waits, and goes on with the time that is left after a signal.
int waitUninterrupted(std::span<pollfd> polled, int32 timeoutMicroseconds) noexcept {
    if (timeoutMicroseconds <= 0)
        return uninterrupted([&] { return poll(polled.data(), polled.size(), timeoutMicroseconds < 0 ? -1 : 0); });
    uint64 left = static_cast<uint64>(timeoutMicroseconds) * 1000;
    const uint64 end = getMonotonicNanoseconds() + left;
    return uninterrupted([&] {
        timespec timeout{};
        timeout.tv_sec = static_cast<time_t>(left / 1000000000);
        timeout.tv_nsec = static_cast<long>(left % 1000000000);
        const int result = ppoll(polled.data(), polled.size(), &timeout, nullptr);
        if (result < 0 && errno == EINTR) {
            left = end - std::min(end, getMonotonicNanoseconds());
            errno = EINTR;
        }
        return result;
    });
}

} // namespace

int32 pollSockets(std::span<PolledSocket> sockets, int32 timeoutMicroseconds, SocketError& error) noexcept {
    std::array<pollfd, cMostPolledSockets> storage;
    const std::span<pollfd> polled(storage.data(), std::min(sockets.size(), storage.size()));
    for (std::size_t at = 0; at < polled.size(); ++at)
        polled[at] = {descriptorOf(sockets[at].socket), eventsOf(sockets[at].wanted), 0};
    int32 count = waitUninterrupted(polled, timeoutMicroseconds);
    error = lastSocketErrorOf(count);
    if (count < 0)
        return -1;
    for (std::size_t at = 0; at < polled.size(); ++at) {
        if (polled[at].revents & POLLNVAL) {
            error = SocketError::SOCKET_ERROR_NOT_A_SOCKET;
            count = -1;
        }
        sockets[at].ready = readinessOf(polled[at].revents, sockets[at].wanted);
    }
    return count;
}

} // namespace Tarq::Common::Platform
