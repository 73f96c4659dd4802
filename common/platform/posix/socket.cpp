#include "common/platform/socket.h"

#include "common/platform/posix/socketcall.h"

#include <algorithm>

#include <netinet/tcp.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

/// A setting that the system refuses costs comfort, not function.
void setOption(int descriptor, int level, int option) noexcept {
    const int on = 1;
    setsockopt(descriptor, level, option, &on, sizeof(on));
}

SocketError getOption(int descriptor, int option, int& value) noexcept {
    socklen_t size = sizeof(value);
    return lastSocketErrorOf(getsockopt(descriptor, SOL_SOCKET, option, &value, &size));
}

bool isListener(SocketHandle socket) noexcept {
    int isListening = 0;
    getOption(descriptorOf(socket), SO_ACCEPTCONN, isListening);
    return isListening != 0;
}

int systemFamilyOf(uint16 family) noexcept {
    switch (family) {
    case cFamilyInet4:
        return AF_INET;
    case cFamilyInet6:
        return AF_INET6;
    default:
        return AF_UNSPEC;
    }
}

/// What both ends of a connection are made with. An urgent byte arrives among the others: left beside them, where
/// nobody fetches it, it would keep the socket ready for ever.
void setUpConnection(int descriptor) noexcept {
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY);
    setOption(descriptor, SOL_SOCKET, SO_OOBINLINE);
}

/// Whether somebody can be there. For the system, the address that stands for any is this machine.
bool isDestination(const SocketAddress& address) noexcept {
    const auto isSet = [](uint8 byte) { return byte != 0; };
    const uint8* const rest = address.rest.data();
    const bool hasAddress =
        address.family == cFamilyInet4 ? std::any_of(rest, rest + 4, isSet) : std::any_of(rest + 4, rest + 20, isSet);
    return hasAddress && std::any_of(address.port.begin(), address.port.end(), isSet);
}

/// For the system, to have never been connected and to have ended the sending are the same to a send; not to a receive.
/// The first send behind a peer that has gone says so; those after it look as if this end had ended the sending.
SocketError refineSendError(int descriptor, SocketError error) noexcept {
    char byte = 0;
    const bool wasConnected = error != SocketError::SOCKET_ERROR_SHUT_DOWN ||
                              recv(descriptor, &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0 || errno != ENOTCONN;
    return wasConnected ? error : SocketError::SOCKET_ERROR_NOT_CONNECTED;
}

SocketTransfer transferOf(ssize_t count) noexcept {
    return {count < 0 ? 0 : static_cast<uint32>(count), lastSocketErrorOf(static_cast<long>(count))};
}

} // namespace

/// There is nothing to start: the version that was asked for is the one there is.
SocketError startSocketService(std::array<uint8, 2> version, SocketService& service) noexcept {
    service = {version, version};
    return SocketError::SOCKET_ERROR_NONE;
}

void stopSocketService() noexcept {}

SocketError openStreamSocket(uint16 family, SocketHandle& socket) noexcept {
    const int descriptor = ::socket(systemFamilyOf(family), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const SocketError error = lastSocketErrorOf(descriptor);
    if (descriptor >= 0)
        setUpConnection(descriptor);
    socket = descriptor < 0 ? cNoSocket : descriptor;
    return error;
}

void closeSocket(SocketHandle socket) noexcept {
    if (isListener(socket))
        ListenerReserve::removeListener();
    // An interrupted close is not repeated: the descriptor is free already and may be another thread's by now.
    close(descriptorOf(socket));
}

SocketError listenOnSocket(SocketHandle socket, const SocketAddress& address, int32 backlog) noexcept {
    if (systemFamilyOf(address.family) == AF_UNSPEC)
        return SocketError::SOCKET_ERROR_FAMILY_NOT_SUPPORTED;
    const int descriptor = descriptorOf(socket);
    // What is left of connections to a listener before would keep the address for minutes.
    setOption(descriptor, SOL_SOCKET, SO_REUSEADDR);
    const SystemAddress systemAddress(address);
    if (bind(descriptor, systemAddress.get(), systemAddress.size()) != 0 || listen(descriptor, backlog) != 0)
        return socketErrorOf(errno);
    ListenerReserve::addListener();
    return SocketError::SOCKET_ERROR_NONE;
}

SocketError acceptOnSocket(SocketHandle listener, SocketHandle& accepted, SocketAddress& peer) noexcept {
    SystemAddress address;
    const int descriptor = uninterrupted([&] {
        return accept4(descriptorOf(listener), address.get(), address.sizePointer(), SOCK_NONBLOCK | SOCK_CLOEXEC);
    });
    const SocketError error = lastSocketErrorOf(descriptor);
    accepted = descriptor < 0 ? cNoSocket : descriptor;
    if (error == SocketError::SOCKET_ERROR_NONE) {
        setUpConnection(descriptor);
        peer = address.translate();
    } else if (error == SocketError::SOCKET_ERROR_TOO_MANY_OPEN) {
        // The system says so before it looks whether a connection waits.
        return ListenerReserve::refuseConnection(descriptorOf(listener));
    }
    return error;
}

SocketError connectSocket(SocketHandle socket, const SocketAddress& address) noexcept {
    if (isListener(socket))
        return SocketError::SOCKET_ERROR_INVALID;
    if (systemFamilyOf(address.family) == AF_UNSPEC)
        return SocketError::SOCKET_ERROR_FAMILY_NOT_SUPPORTED;
    if (!isDestination(address))
        return SocketError::SOCKET_ERROR_ADDRESS_NOT_AVAILABLE;
    const SystemAddress systemAddress(address);
    const SocketError error =
        lastSocketErrorOf(connect(descriptorOf(socket), systemAddress.get(), systemAddress.size()));
    // An interrupted attempt goes on as well.
    const bool isGoingOn =
        error == SocketError::SOCKET_ERROR_IN_PROGRESS || error == SocketError::SOCKET_ERROR_INTERRUPTED;
    return isGoingOn ? SocketError::SOCKET_ERROR_WOULD_BLOCK : error;
}

SocketError finishConnect(SocketHandle socket, const SocketAddress& address) noexcept {
    // The call is repeated, since the system keeps the outcome for the next one: read in another way, it would come as
    // the outcome of whatever is tried next.
    const SystemAddress systemAddress(address);
    return lastSocketErrorOf(
        uninterrupted([&] { return connect(descriptorOf(socket), systemAddress.get(), systemAddress.size()); }));
}

SocketError shutDownSocket(SocketHandle socket) noexcept {
    // The system would end the listening, silently.
    if (isListener(socket))
        return SocketError::SOCKET_ERROR_NOT_CONNECTED;
    return lastSocketErrorOf(shutdown(descriptorOf(socket), SHUT_RDWR));
}

SocketError getLocalAddress(SocketHandle socket, SocketAddress& address) noexcept {
    SystemAddress systemAddress;
    const SocketError error =
        lastSocketErrorOf(getsockname(descriptorOf(socket), systemAddress.get(), systemAddress.sizePointer()));
    if (error == SocketError::SOCKET_ERROR_NONE)
        address = systemAddress.translate();
    return error;
}

SocketTransfer receiveFromSocket(SocketHandle socket, void* dst, uint32 numBytes) noexcept {
    const uint32 wanted = std::min(numBytes, cLargestSocketTransfer);
    return transferOf(uninterrupted([&] { return recv(descriptorOf(socket), dst, wanted, 0); }));
}

SocketTransfer sendToSocket(SocketHandle socket, const void* src, uint32 numBytes, bool isMoreToCome) noexcept {
    const uint32 wanted = std::min(numBytes, cLargestSocketTransfer);
    const int flags = MSG_NOSIGNAL | (isMoreToCome ? MSG_MORE : 0);
    SocketTransfer transfer = transferOf(uninterrupted([&] { return send(descriptorOf(socket), src, wanted, flags); }));
    transfer.error = refineSendError(descriptorOf(socket), transfer.error);
    return transfer;
}

} // namespace Tarq::Common::Platform
