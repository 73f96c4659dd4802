#pragma once

#include "common/platform/socketerror.h"
#include "common/types.h"

#include <array>
#include <cstdint>
#include <span>

/// Stream sockets, and waiting for several of them.
///
/// Nothing but `pollSockets` waits: where there is nothing to do yet, an operation fails with
/// `SOCKET_ERROR_WOULD_BLOCK`. Small messages are sent at once. No signal is raised, and none interrupts an operation.
///
/// Threads: any; one socket is used by one thread at a time.
namespace Tarq::Common::Platform {

/// What `startSocketService` found.
struct SocketService {
    std::array<uint8, 2> version{};        ///< granted: major, minor
    std::array<uint8, 2> highestVersion{}; ///< that there is
};

/// Starts the system's socket service, if it has to be started, and asks for a version (major, minor). Each success is
/// undone by a `stopSocketService`.
SocketError startSocketService(std::array<uint8, 2> version, SocketService& service) noexcept;
void stopSocketService() noexcept;

/// A socket of the process; child programs do not inherit it.
using SocketHandle = std::intptr_t;
inline constexpr SocketHandle cNoSocket = -1;

inline constexpr uint16 cFamilyInet4 = 2;
inline constexpr uint16 cFamilyInet6 = 23;

/// An address and a port, laid out alike on every system. A backend translates it, the number of the family included.
struct SocketAddress {
    uint16 family = cFamilyInet4;
    std::array<uint8, 2> port{}; ///< most significant byte first
    /// IPv4: the address in 4 bytes, then zeros. IPv6: 4 bytes of flow information, the address in 16 bytes, 4 bytes of
    /// scope.
    std::array<uint8, 24> rest{};
};
static_assert(sizeof(SocketAddress) == 28);

/// Makes a stream socket and stores its handle, `cNoSocket` after a failure.
SocketError openStreamSocket(uint16 family, SocketHandle& socket) noexcept;
/// The handle is gone afterwards. The peer reads what was sent, then the end; or a reset, if it sent what nobody read.
void closeSocket(SocketHandle socket) noexcept;

/// Binds the socket and listens. The address may be one that a listener before has just let go of; one that somebody
/// still listens on is in use. Fails with `SOCKET_ERROR_FAMILY_NOT_SUPPORTED` for a family that has no number above.
SocketError listenOnSocket(SocketHandle socket, const SocketAddress& address, int32 backlog) noexcept;

/// Takes a connection that waits, and stores its handle, `cNoSocket` after a failure.
///
/// When the process has no handle left, a connection that waits is closed, so that the listener does not stay ready
/// for what nobody can take; the failure is `SOCKET_ERROR_TOO_MANY_OPEN` then. A handle is kept for this, but it has to
/// be free for a moment: when another thread takes it, or the system as a whole has none left, the connection stays.
SocketError acceptOnSocket(SocketHandle listener, SocketHandle& accepted, SocketAddress& peer) noexcept;

/// Begins to connect. After `SOCKET_ERROR_WOULD_BLOCK`, the socket is ready to write or has failed when the outcome is
/// known, and `finishConnect` tells it.
///
/// Fails with `SOCKET_ERROR_INVALID` for a listener, `SOCKET_ERROR_FAMILY_NOT_SUPPORTED` for a family that has no
/// number above, and `SOCKET_ERROR_ADDRESS_NOT_AVAILABLE` for the address or the port that stands for any.
SocketError connectSocket(SocketHandle socket, const SocketAddress& address) noexcept;
/// The outcome of the attempt to connect to the address. After a failure, the socket can try again.
SocketError finishConnect(SocketHandle socket, const SocketAddress& address) noexcept;

/// Ends both directions; the peer reads what was sent, then the end.
SocketError shutDownSocket(SocketHandle socket) noexcept;
SocketError getLocalAddress(SocketHandle socket, SocketAddress& address) noexcept;

struct SocketTransfer {
    uint32 numBytes; ///< 0 with an error
    SocketError error;
};

/// The most that one call moves.
inline constexpr uint32 cLargestSocketTransfer = 0x7FFFFFFF;

/// Takes up to `numBytes` bytes that have arrived; 0 without an error means that the peer has closed the connection.
SocketTransfer receiveFromSocket(SocketHandle socket, void* dst, uint32 numBytes) noexcept;
/// Hands over up to `numBytes` bytes. `isMoreToCome` allows the system to wait for a short while, so that the bytes
/// travel together with those of the next call.
SocketTransfer sendToSocket(SocketHandle socket, const void* src, uint32 numBytes, bool isMoreToCome) noexcept;

/// What a socket is asked for, and what it is ready for; combine them with `|`.
enum Readiness : uint8 {
    READY_NEVER = 0,
    READY_TO_READ = 1,  ///< also: to accept a connection, to tell that the peer has closed or that the socket failed
    READY_TO_WRITE = 2, ///< also: to tell that the socket failed
    READY_TO_FAIL = 4,  ///< it has failed, both directions have ended, it never was connected, or urgent data waits
};

constexpr Readiness operator|(Readiness a, Readiness b) noexcept {
    return static_cast<Readiness>(static_cast<uint8>(a) | static_cast<uint8>(b));
}

/// One socket in a `pollSockets`.
struct PolledSocket {
    SocketHandle socket;
    Readiness wanted;
    Readiness ready; ///< stored by the call; nothing that was not wanted
};

/// How many sockets a `pollSockets` takes of each kind of readiness, beside the handle of a `WakeHandle`.
inline constexpr uint32 cLargestSocketSet = 64;
/// How many handles a `pollSockets` takes, when each socket is wanted for something else.
inline constexpr uint32 cMostPolledSockets = 3 * cLargestSocketSet + 1;

/// Waits until a socket is ready for what it is wanted for, at most `timeoutMicroseconds`; negative: without limit.
///
/// Each socket stands in the list once, and there are at most `cMostPolledSockets`, none of them `cNoSocket`: the
/// system would pass over that one, without limit for ever. Returns the number of sockets that are ready, negative with
/// an error stored: `SOCKET_ERROR_NOT_A_SOCKET` when one of them is closed, which is ready for what it is wanted for.
int32 pollSockets(std::span<PolledSocket> sockets, int32 timeoutMicroseconds, SocketError& error) noexcept;

} // namespace Tarq::Common::Platform
