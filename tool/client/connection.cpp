#include "tool/client/connection.h"

#include "tool/client/clock.h"
#include "tool/platform/system.h"

#include "common/library.h"

namespace Tarq::Tool {

using namespace Common;
using Network::Sockets::HostAddress;
using Network::Sockets::Socket;
using Network::Sockets::TCPSocket;
using Platform::SocketError;

namespace {

constexpr uint32 cReceiveSize = 16384;

} // namespace

Connection::Connection(const HostAddress& address, const ConnectionLimits& limits)
    : mAddress(address), mOutbox(limits.maxUnanswered), mAssembler(limits.maxMessageLength),
      mReceived(Library::getTempAlloc(), cReceiveSize) {
    if (mSocket.isValid())
        tryConnect();
    else
        end(makeSocketFailure(FAILURE_UNREACHABLE, Socket::getLastError()));
}

void Connection::process(int32 timeoutMicroseconds, Socket::Wake& wake) {
    // What has come is not overwritten: whoever got the last message may have thrown.
    if (mState == ENDED || !mUnread.empty())
        return;
    Socket::SocketList readable(Library::getTempAlloc());
    Socket::SocketList writable(Library::getTempAlloc());
    Socket::SocketList failed(Library::getTempAlloc());
    const bool wantsToWrite = mState == CONNECTING || !mOutbox.getNext().empty();
    if (mState == OPEN)
        readable.push_back(&mSocket);
    if (wantsToWrite)
        writable.push_back(&mSocket);
    const Socket::SelectError result = Socket::select(readable, writable, failed, timeoutMicroseconds, wake);
    if (result == Socket::SELECT_ERROR)
        end(makeSocketFailure(mState == OPEN ? FAILURE_LOST : FAILURE_UNREACHABLE, Socket::getLastError()));
    if (result != Socket::SELECT_OK)
        return;
    if (mState == CONNECTING) {
        tryConnect();
        return;
    }
    if (!readable.empty())
        receive();
    // A host that always has something to tell is to hear something, too. But what has come, and may go on, tells more
    // than that nothing can be sent any more.
    if (!writable.empty() && mState == OPEN)
        send(readable.empty());
}

void Connection::tryConnect() {
    const SocketError error = System::tryConnect(mSocket.getHandle(), mAddress);
    if (error == SocketError::SOCKET_ERROR_WOULD_BLOCK)
        return;
    if (error != SocketError::SOCKET_ERROR_NONE)
        end(makeSocketFailure(FAILURE_UNREACHABLE, static_cast<int32>(error)));
    else if (isConnectedToItself())
        end(makeSocketFailure(FAILURE_UNREACHABLE, static_cast<int32>(SocketError::SOCKET_ERROR_CONNECTION_REFUSED)));
    else
        mState = OPEN;
}

/// On this machine, an attempt may be given the very port that it is for, when nobody listens there; the two ends of
/// the connection are one then, and the host could not take its port.
bool Connection::isConnectedToItself() const {
    HostAddress local;
    return mSocket.getLocalAddress(&local) && local.getPort() == mAddress.getPort() &&
           local.getAddressIPV4() == mAddress.getAddressIPV4();
}

void Connection::receive() {
    const int count = mSocket.tryReceive(mReceived.data(), mReceived.size(), 0);
    if (count == TCPSocket::NOT_YET)
        return;
    if (count > 0) {
        mUnread = {mReceived.data(), static_cast<std::size_t>(count)};
    } else if (count < 0) {
        end(makeSocketFailure(FAILURE_LOST, Socket::getLastError()));
    } else {
        const bool isCutOff = mAssembler.hasBegun();
        end({FAILURE_LOST,
             isCutOff ? "the host has closed the connection inside a message" : "the host has closed the connection"});
    }
}

void Connection::send(bool endsOnFailure) {
    const std::span<const uint8> bytes = mOutbox.getNext();
    const int count = mSocket.trySend(bytes.data(), static_cast<unsigned int>(bytes.size()), 0);
    if (count == TCPSocket::NOT_YET)
        return;
    if (count >= 0)
        mOutbox.take(static_cast<uint32>(count), getMicroseconds());
    else if (endsOnFailure)
        end(makeSocketFailure(FAILURE_LOST, Socket::getLastError()));
}

Memory::MemoryStream* Connection::nextMessage() {
    if (mAssembler.getState() == FrameAssembler::FRAME_COMPLETE)
        mAssembler.next();
    mUnread = mUnread.subspan(mAssembler.take(mUnread.data(), static_cast<uint32>(mUnread.size())));
    if (mAssembler.getState() == FrameAssembler::FRAME_COMPLETE)
        return &mAssembler.getMessage();
    if (mAssembler.getState() == FrameAssembler::FRAME_TOO_LONG && mState != ENDED)
        end({FAILURE_PROTOCOL, (String("a message of ").appendDecimal(mAssembler.getLength()) +
                                " bytes is announced, which is too long: is this a host?")});
    return nullptr;
}

void Connection::end(Failure failure) {
    mFailure = std::move(failure);
    mState = ENDED;
}

} // namespace Tarq::Tool
