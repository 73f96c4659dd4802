#pragma once

#include "common/network/sockets/hostaddress.h"
#include "common/network/sockets/socket.h"

#include <array>
#include <cstddef>

namespace Tarq::Common::Network::Sockets {

/// A stream socket: listens for connections, or is one end of a connection.
///
/// Operations wait until they can be done. Those whose name begins with `try` do not, and return that it is not yet
/// time: for loops that learn from `Socket::select` what is ready, which may be over when they come to it.
///
/// Small messages are sent at once. What has arrived may be taken from the system before it is received, so nobody else
/// receives from its handle. Child programs do not inherit it.
class TARQ_API TCPSocket : public Socket {
public:
    /// What the operations that do not wait return in the place of a number of bytes.
    static constexpr int NOT_YET = -2;

    /// Whether more bytes follow at once. Then these may stay here until the last of them comes or there are enough of
    /// them (`cMostBehind`), and are lost when the socket goes before.
    enum Continuation : uint8 { CONTINUATION_NONE, CONTINUATION_FOLLOWS };
    static constexpr uint32 cMostBehind = 8192;

    /// `isValid` tells whether the system has made it.
    explicit TCPSocket(AddressFamily family = ADDRFAMILY_INET4) noexcept;

    /// Takes the address and listens on it, with room for `backlog` connections that wait to be accepted. An address
    /// can be taken again as soon as the socket that listened on it is gone. False after a failure.
    bool listen(const HostAddress& address, int backlog) noexcept;
    /// Connects, and waits for it as long as the system tries, which may be minutes. False after a failure; the socket
    /// can try again then.
    bool connect(const HostAddress& address) noexcept;
    /// Ends both directions, without what has stayed here to be sent; the socket stays open until it is destroyed.
    bool disconnect() noexcept;
    /// Stores where the socket is, with the port that the system has chosen: 0.0.0.0 and port 0 before it listens or is
    /// connected. False for a socket that is not valid. Throws `OutOfMemoryException`.
    bool getLocalAddress(HostAddress* address) const;

    /// Waits for a connection and returns its socket, made on the allocator of this one, for the caller to delete; null
    /// after a failure, which lack of memory is as well (10055). Stores the peer's address, unless `address` is null.
    TCPSocket* accept(HostAddress* address);
    /// The same without waiting: null when no connection waits, too; the last error is 10035 then.
    ///
    /// When the process has no handle left, the connection that waits is closed if possible, so that the listener does
    /// not stay ready for what nobody can take; the last error is 10024 then.
    TCPSocket* tryAccept(HostAddress* address);

    /// Receives into `buffer` from `bufferOffset` up to `maxLength`, as much as has arrived. Returns the number of
    /// bytes, 0 when the peer has closed the connection or nothing is wanted, -1 after a failure.
    ///
    /// Asserts "Buffer offset out of range"; -1 then.
    int receive(void* buffer, unsigned int maxLength, unsigned int bufferOffset);
    /// The same without waiting: `NOT_YET` when nothing has arrived.
    int tryReceive(void* buffer, unsigned int maxLength, unsigned int bufferOffset);

    /// Sends from `buffer` the bytes from `bufferOffset` up to `length`. Returns the number that was taken, which may
    /// be smaller, or -1 after a failure.
    ///
    /// Asserts "Buffer offset out of range"; -1 then.
    int send(const void* buffer, unsigned int length, unsigned int bufferOffset);
    /// The same without waiting: `NOT_YET` when there is no room. A failure to send what has stayed here comes with one
    /// of the next calls.
    int trySend(const void* buffer, unsigned int length, unsigned int bufferOffset,
                Continuation continuation = CONTINUATION_NONE);
    /// Whether the last send was taken whole: there is likely to be room for more.
    bool hasTakenAll() const noexcept { return mHasTakenAll; }

private:
    explicit TCPSocket(Platform::SocketHandle socket) noexcept;

    /// How much is received ahead: small receives, one after the other, cost one call of the system then.
    static constexpr uint32 cMostAhead = 8192;

    uint32 takeFromAhead(std::byte* dst, uint32 numBytes) noexcept;
    Platform::SocketTransfer receiveAhead(std::byte* dst, uint32 numBytes) noexcept;
    Platform::SocketTransfer sendOrKeep(const std::byte* src, uint32 numBytes, Continuation continuation) noexcept;
    Platform::SocketTransfer sendLater(const std::byte* src, uint32 numBytes) noexcept;
    Platform::SocketTransfer sendWithBehind(const std::byte* src, uint32 numBytes) noexcept;
    Platform::SocketError sendBehind() noexcept;
    static int countOf(const Platform::SocketTransfer& transfer) noexcept;
    bool waitUntil(Platform::Readiness ready) const noexcept;
    Platform::SocketError acceptOnce(TCPSocket*& socket, HostAddress* address);
    TCPSocket* adopt(Platform::SocketHandle accepted) const;

    uint32 mAheadBegin = 0; ///< of the bytes that have been received ahead
    /// What ended a receive that had bytes to return. The system tells it once.
    Platform::SocketError mLateError = Platform::SocketError::SOCKET_ERROR_NONE;
    uint32 mBehindBegin = 0; ///< of the bytes that are still to be sent
    uint32 mBehindEnd = 0;
    bool mHasTakenAll = true; ///< that was sent last
    std::array<std::byte, cMostAhead> mAhead;
    std::array<std::byte, cMostBehind> mBehind;
};

} // namespace Tarq::Common::Network::Sockets
