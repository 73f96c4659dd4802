#include "common/network/sockets/tcpsocket.h"

#include "common/debug/assert.h"
#include "common/memory/memoryexception.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace Tarq::Common::Network::Sockets {

using Platform::SocketError;

TCPSocket::TCPSocket(AddressFamily family) noexcept : Socket(Platform::cNoSocket) {
    succeeded(Platform::openStreamSocket(family, mSocket));
}

TCPSocket::TCPSocket(Platform::SocketHandle socket) noexcept : Socket(socket) {}

bool TCPSocket::listen(const HostAddress& address, int backlog) noexcept {
    return succeeded(Platform::listenOnSocket(mSocket, address.getSocketAddress(), backlog));
}

bool TCPSocket::connect(const HostAddress& address) noexcept {
    SocketError error = Platform::connectSocket(mSocket, address.getSocketAddress());
    if (error == SocketError::SOCKET_ERROR_WOULD_BLOCK) {
        if (!waitUntil(Platform::READY_TO_WRITE | Platform::READY_TO_FAIL))
            return false;
        error = Platform::finishConnect(mSocket, address.getSocketAddress());
    }
    return succeeded(error);
}

bool TCPSocket::disconnect() noexcept {
    return succeeded(Platform::shutDownSocket(mSocket));
}

bool TCPSocket::getLocalAddress(HostAddress* address) const {
    Platform::SocketAddress local;
    if (!succeeded(Platform::getLocalAddress(mSocket, local)))
        return false;
    *address = HostAddress(local);
    return true;
}

TCPSocket* TCPSocket::accept(HostAddress* address) {
    TCPSocket* socket = nullptr;
    SocketError error = acceptOnce(socket, address);
    while (error == SocketError::SOCKET_ERROR_WOULD_BLOCK) {
        if (!waitUntil(Platform::READY_TO_READ))
            return nullptr;
        error = acceptOnce(socket, address);
    }
    return socket;
}

TCPSocket* TCPSocket::tryAccept(HostAddress* address) {
    TCPSocket* socket = nullptr;
    // That nothing waits is the last error, too: callers could not tell it from a failure otherwise.
    succeeded(acceptOnce(socket, address));
    return socket;
}

SocketError TCPSocket::acceptOnce(TCPSocket*& socket, HostAddress* address) {
    Platform::SocketHandle handle = Platform::cNoSocket;
    Platform::SocketAddress peer;
    SocketError error = Platform::acceptOnSocket(mSocket, handle, peer);
    if (error == SocketError::SOCKET_ERROR_WOULD_BLOCK || !succeeded(error))
        return error;
    try {
        std::unique_ptr<TCPSocket> accepted(adopt(handle));
        if (address)
            *address = HostAddress(peer);
        socket = accepted.release();
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        error = SocketError::SOCKET_ERROR_NO_BUFFERS;
        succeeded(error);
    }
    return error;
}

TCPSocket* TCPSocket::adopt(Platform::SocketHandle accepted) const {
    try {
        return new (getAllocator()) TCPSocket(accepted);
    } catch (...) {
        Platform::closeSocket(accepted);
        throw;
    }
}

int TCPSocket::receive(void* buffer, unsigned int maxLength, unsigned int bufferOffset) {
    int count = tryReceive(buffer, maxLength, bufferOffset);
    while (count == NOT_YET)
        count = waitUntil(Platform::READY_TO_READ) ? tryReceive(buffer, maxLength, bufferOffset) : -1;
    return count;
}

int TCPSocket::tryReceive(void* buffer, unsigned int maxLength, unsigned int bufferOffset) {
    if (!TARQ_ASSERT(bufferOffset <= maxLength, "Buffer offset out of range"))
        return -1;
    if (bufferOffset == maxLength)
        return 0;
    const uint32 wanted = std::min<uint32>(maxLength - bufferOffset, Platform::cLargestSocketTransfer);
    return countOf(receiveAhead(static_cast<std::byte*>(buffer) + bufferOffset, wanted));
}

/// As if nothing were received ahead: all that has arrived by now is returned, up to the number of bytes.
Platform::SocketTransfer TCPSocket::receiveAhead(std::byte* dst, uint32 numBytes) noexcept {
    const uint32 taken = takeFromAhead(dst, numBytes);
    if (taken == numBytes)
        return {taken, SocketError::SOCKET_ERROR_NONE};
    if (mLateError != SocketError::SOCKET_ERROR_NONE)
        return {0, std::exchange(mLateError, SocketError::SOCKET_ERROR_NONE)};
    const uint32 missing = numBytes - taken;
    Platform::SocketTransfer more{};
    if (missing >= cMostAhead) {
        more = Platform::receiveFromSocket(mSocket, dst + taken, missing);
    } else {
        more = Platform::receiveFromSocket(mSocket, mAhead.data(), cMostAhead);
        mAheadBegin = 0;
        mNumAhead = more.numBytes;
        more.numBytes = takeFromAhead(dst + taken, missing);
    }
    if (taken == 0)
        return more;
    if (more.error != SocketError::SOCKET_ERROR_WOULD_BLOCK)
        mLateError = more.error;
    return {taken + more.numBytes, SocketError::SOCKET_ERROR_NONE};
}

uint32 TCPSocket::takeFromAhead(std::byte* dst, uint32 numBytes) noexcept {
    const uint32 count = std::min(numBytes, mNumAhead);
    std::memcpy(dst, mAhead.data() + mAheadBegin, count);
    mAheadBegin += count;
    mNumAhead -= count;
    return count;
}

int TCPSocket::send(const void* buffer, unsigned int length, unsigned int bufferOffset) {
    int count = trySend(buffer, length, bufferOffset);
    while (count == NOT_YET)
        count = waitUntil(Platform::READY_TO_WRITE) ? trySend(buffer, length, bufferOffset) : -1;
    return count;
}

int TCPSocket::trySend(const void* buffer, unsigned int length, unsigned int bufferOffset, Continuation continuation) {
    if (!TARQ_ASSERT(bufferOffset <= length, "Buffer offset out of range"))
        return -1;
    if (bufferOffset == length)
        return 0;
    const std::byte* const src = static_cast<const std::byte*>(buffer) + bufferOffset;
    const uint32 numBytes = length - bufferOffset;
    const Platform::SocketTransfer sent = sendOrKeep(src, numBytes, continuation);
    mHasTakenAll = sent.numBytes == numBytes;
    return countOf(sent);
}

Platform::SocketTransfer TCPSocket::sendOrKeep(const std::byte* src, uint32 numBytes,
                                               Continuation continuation) noexcept {
    if (continuation == CONTINUATION_FOLLOWS && numBytes <= cMostBehind)
        return sendLater(src, numBytes);
    if (continuation == CONTINUATION_NONE && mBehindBegin != mBehindEnd && numBytes <= cMostBehind - mBehindEnd)
        return sendWithBehind(src, numBytes);
    const SocketError error = sendBehind();
    if (error != SocketError::SOCKET_ERROR_NONE)
        return {0, error};
    return Platform::sendToSocket(mSocket, src, numBytes, continuation != CONTINUATION_NONE);
}

Platform::SocketTransfer TCPSocket::sendLater(const std::byte* src, uint32 numBytes) noexcept {
    if (cMostBehind - mBehindEnd < numBytes) {
        const SocketError error = sendBehind();
        if (error != SocketError::SOCKET_ERROR_NONE)
            return {0, error};
    }
    std::memcpy(mBehind.data() + mBehindEnd, src, numBytes);
    mBehindEnd += numBytes;
    return {numBytes, SocketError::SOCKET_ERROR_NONE};
}

/// Sends what has stayed here and these bytes in one piece; what of them does not go is not taken.
Platform::SocketTransfer TCPSocket::sendWithBehind(const std::byte* src, uint32 numBytes) noexcept {
    std::memcpy(mBehind.data() + mBehindEnd, src, numBytes);
    const Platform::SocketTransfer sent =
        Platform::sendToSocket(mSocket, mBehind.data() + mBehindBegin, mBehindEnd - mBehindBegin + numBytes, false);
    mBehindBegin += sent.numBytes;
    if (mBehindBegin <= mBehindEnd)
        return {0, sent.error == SocketError::SOCKET_ERROR_NONE ? SocketError::SOCKET_ERROR_WOULD_BLOCK : sent.error};
    const uint32 taken = mBehindBegin - mBehindEnd;
    mBehindBegin = 0;
    mBehindEnd = 0;
    return {taken, SocketError::SOCKET_ERROR_NONE};
}

/// Sends what has stayed here: all of it, or there is no room yet.
SocketError TCPSocket::sendBehind() noexcept {
    while (mBehindBegin != mBehindEnd) {
        const Platform::SocketTransfer sent =
            Platform::sendToSocket(mSocket, mBehind.data() + mBehindBegin, mBehindEnd - mBehindBegin, true);
        if (sent.error != SocketError::SOCKET_ERROR_NONE)
            return sent.error;
        mBehindBegin += sent.numBytes;
    }
    mBehindBegin = 0;
    mBehindEnd = 0;
    return SocketError::SOCKET_ERROR_NONE;
}

int TCPSocket::countOf(const Platform::SocketTransfer& transfer) noexcept {
    if (transfer.error == SocketError::SOCKET_ERROR_WOULD_BLOCK)
        return NOT_YET;
    return succeeded(transfer.error) ? static_cast<int>(transfer.numBytes) : -1;
}

bool TCPSocket::waitUntil(Platform::Readiness ready) const noexcept {
    Platform::PolledSocket polled{mSocket, ready, Platform::READY_NEVER};
    SocketError error = SocketError::SOCKET_ERROR_NONE;
    Platform::pollSockets({&polled, 1}, -1, error);
    return succeeded(error);
}

} // namespace Tarq::Common::Network::Sockets
