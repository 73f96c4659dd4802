#include "common/network/sockets/socket.h"

#include "common/network/sockets/socketerrortext.h"

#include <algorithm>
#include <array>

namespace Tarq::Common::Network::Sockets {

namespace {

using Platform::PolledSocket;
using Platform::Readiness;
using Platform::SocketError;

thread_local constinit SocketError tLastError = SocketError::SOCKET_ERROR_NONE;

/// The sockets of the three lists, each of them once.
class PollTable {
public:
    void add(const Socket::SocketList& list, Readiness wanted) noexcept {
        uint32 room = Platform::cLargestSocketSet;
        for (const Socket* const socket : list) {
            if (room == 0)
                return;
            if (!socket->isValid())
                continue;
            PolledSocket& polled = find(socket->getHandle());
            if (polled.wanted & wanted)
                continue;
            polled.wanted = polled.wanted | wanted;
            mHasBytesAhead = mHasBytesAhead || isReadable(*socket, wanted);
            --room;
        }
    }

    /// The number of sockets that are ready, negative after an error. After all sockets have been added.
    int32 poll(int32 timeoutMicroseconds, Socket::Wake& wake, SocketError& error) noexcept {
        const uint32 numSockets = mSize;
        if (wake.handle != Platform::cNoSocket)
            mSockets[mSize++] = {wake.handle, Platform::READY_TO_READ, Platform::READY_NEVER};
        int32 numReady =
            Platform::pollSockets({mSockets.data(), mSize}, mHasBytesAhead ? 0 : timeoutMicroseconds, error);
        wake.isReady = mSize != numSockets && mSockets[numSockets].ready != Platform::READY_NEVER;
        if (wake.isReady && numReady > 0)
            --numReady;
        return numReady == 0 && mHasBytesAhead ? 1 : numReady;
    }
    bool empty() const noexcept { return mSize == 0; }

    void keepReady(Socket::SocketList& list, Readiness wanted) noexcept {
        const auto end = std::remove_if(list.begin(), list.end(), [&](const Socket* socket) {
            // One that was left out has no slot, or one for what another list wants.
            const uint8 slot = mSlots[slotOf(socket->getHandle())];
            if (slot == 0 || !(mSockets[slot - 1u].wanted & wanted))
                return true;
            return !(mSockets[slot - 1u].ready & wanted) && !isReadable(*socket, wanted);
        });
        list.erase(end, list.end());
    }

private:
    /// Whatever the system says.
    static bool isReadable(const Socket& socket, Readiness wanted) noexcept {
        return wanted == Platform::READY_TO_READ && socket.hasBytesAhead();
    }

    /// More than there are sockets, so that the search for one ends.
    static constexpr uint32 cSlots = 512;

    /// The slot of a handle, or the empty one where it would be.
    uint32 slotOf(Platform::SocketHandle handle) const noexcept {
        // Handles are small numbers, or small numbers times 4.
        uint32 slot = (static_cast<uint32>(handle) ^ static_cast<uint32>(handle) << 7) % cSlots;
        while (mSlots[slot] != 0 && mSockets[mSlots[slot] - 1u].socket != handle)
            slot = (slot + 1) % cSlots;
        return slot;
    }
    PolledSocket& find(Platform::SocketHandle handle) noexcept {
        uint8& slot = mSlots[slotOf(handle)];
        if (slot == 0) {
            mSockets[mSize] = {handle, Platform::READY_NEVER, Platform::READY_NEVER};
            slot = static_cast<uint8>(++mSize);
        }
        return mSockets[slot - 1u];
    }

    std::array<PolledSocket, Platform::cMostPolledSockets> mSockets; ///< and the handle that wakes, behind them
    std::array<uint8, cSlots> mSlots{}; ///< 1 more than the place of the socket, 0 where there is none
    uint32 mSize = 0;
    bool mHasBytesAhead = false; ///< of a socket that is wanted to read
};

} // namespace

Socket::~Socket() {
    if (isValid())
        Platform::closeSocket(mSocket);
}

Socket::SelectError Socket::select(SocketList& readList, SocketList& writeList, SocketList& errorList,
                                   int32 timeoutMicroseconds) noexcept {
    Wake none;
    return select(readList, writeList, errorList, timeoutMicroseconds, none);
}

Socket::SelectError Socket::select(SocketList& readList, SocketList& writeList, SocketList& errorList,
                                   int32 timeoutMicroseconds, Wake& wake) noexcept {
    PollTable table;
    wake.isReady = false;
    table.add(readList, Platform::READY_TO_READ);
    table.add(writeList, Platform::READY_TO_WRITE);
    table.add(errorList, Platform::READY_TO_FAIL);
    SocketError error = SocketError::SOCKET_ERROR_INVALID;
    const int32 numReady = table.empty() && timeoutMicroseconds < 0 ? -1 : table.poll(timeoutMicroseconds, wake, error);
    if (numReady < 0) {
        succeeded(error);
        return SELECT_ERROR;
    }
    if (numReady == 0)
        return SELECT_TIMEOUT;
    table.keepReady(readList, Platform::READY_TO_READ);
    table.keepReady(writeList, Platform::READY_TO_WRITE);
    table.keepReady(errorList, Platform::READY_TO_FAIL);
    return SELECT_OK;
}

int32 Socket::getLastError() noexcept {
    return static_cast<int32>(tLastError);
}

String Socket::getErrorText(int32 code) {
    return getSocketErrorText(code);
}

bool Socket::succeeded(SocketError error) noexcept {
    if (error != SocketError::SOCKET_ERROR_NONE)
        tLastError = error;
    return error == SocketError::SOCKET_ERROR_NONE;
}

} // namespace Tarq::Common::Network::Sockets
