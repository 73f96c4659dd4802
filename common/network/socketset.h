#pragma once

#include "common/container/vector.h"
#include "common/network/sockets/tcpsocket.h"

#include <algorithm>

namespace Tarq::Common::Network {

/// A few sockets, each of them once, in the order in which they came.
class SocketSet {
public:
    explicit SocketSet(const Memory::AllocatorPtr& allocator) noexcept : mSockets(allocator) {}

    uint32 size() const noexcept { return mSockets.size(); }
    bool empty() const noexcept { return mSockets.empty(); }
    auto begin() const noexcept { return mSockets.begin(); }
    auto end() const noexcept { return mSockets.end(); }
    bool contains(const Sockets::TCPSocket* socket) const noexcept {
        return std::find(begin(), end(), socket) != end();
    }

    /// Makes room for so many, so that to add them takes no memory.
    void reserve(uint32 count) { mSockets.reserve(count); }
    /// Returns whether it is new. Throws `OutOfMemoryException` when there is no room.
    bool add(Sockets::TCPSocket* socket) {
        if (contains(socket))
            return false;
        mSockets.push_back(socket);
        return true;
    }
    /// Returns how often it was there.
    uint32 remove(const Sockets::TCPSocket* socket) noexcept {
        const uint32 before = size();
        mSockets.erase(std::remove(mSockets.begin(), mSockets.end(), socket), mSockets.end());
        return before - size();
    }
    /// Removes the first one and returns it; null when there is none.
    Sockets::TCPSocket* takeFirst() noexcept {
        if (empty())
            return nullptr;
        Sockets::TCPSocket* const first = mSockets.front();
        mSockets.erase(mSockets.begin());
        return first;
    }

private:
    Container::Vector<Sockets::TCPSocket*> mSockets;
};

} // namespace Tarq::Common::Network
