#pragma once

#include "tests/support/librarytest.h"

#include "common/network/sockets/tcpsocket.h"

#include <memory>
#include <string>

namespace Tarq::Test {

using Common::Network::Sockets::HostAddress;
using Common::Network::Sockets::IPV4;
using Common::Network::Sockets::Socket;
using Common::Network::Sockets::TCPSocket;
using SocketOwner = std::unique_ptr<TCPSocket>;

/// Where objects are made that no library has to outlive.
inline const Common::Memory::AllocatorPtr& globalHeap() {
    static const Common::Memory::AllocatorPtr none;
    return none;
}

/// A socket that listens on a port of the loopback address that nobody else uses.
class Listener {
public:
    explicit Listener(int backlog = 16) {
        REQUIRE(mSocket.listen(HostAddress(IPV4::LOOPBACK, 0), backlog));
        REQUIRE(mSocket.getLocalAddress(&mAddress));
    }

    SocketOwner connect() const {
        SocketOwner client(new (globalHeap()) TCPSocket);
        REQUIRE(client->connect(mAddress));
        return client;
    }
    SocketOwner accept() {
        SocketOwner accepted(mSocket.accept(nullptr));
        REQUIRE(accepted);
        return accepted;
    }

    TCPSocket mSocket;
    HostAddress mAddress;
};

/// Both ends of a connection.
struct ConnectedPair {
    ConnectedPair() {
        Listener listener;
        *this = ConnectedPair(listener);
    }
    explicit ConnectedPair(Listener& listener) : near(listener.connect()), far(listener.accept()) {}

    SocketOwner near;
    SocketOwner far;
};

// What stops a test by an exception must not be thrown on a thread of its own; so these go on after a failure.

/// Sends the whole text, waiting as long as it takes.
inline void sendText(TCPSocket& socket, const std::string& text) {
    for (std::size_t sent = 0; sent < text.size();) {
        const int count =
            socket.send(text.data(), static_cast<unsigned int>(text.size()), static_cast<unsigned int>(sent));
        CHECK(count > 0);
        if (count <= 0)
            return;
        sent += static_cast<std::size_t>(count);
    }
}

/// Receives exactly so many bytes, or fewer if the peer closes or the connection fails.
inline std::string receiveText(TCPSocket& socket, std::size_t length) {
    std::string text(length, '?');
    std::size_t received = 0;
    while (received < length) {
        const int count =
            socket.receive(text.data(), static_cast<unsigned int>(length), static_cast<unsigned int>(received));
        CHECK(count >= 0);
        if (count <= 0)
            break;
        received += static_cast<std::size_t>(count);
    }
    text.resize(received);
    return text;
}

/// Waits until the socket has something to read, or has been closed by its peer.
inline void waitReadable(TCPSocket& socket) {
    Socket::SocketList readable(globalHeap(), {&socket});
    Socket::SocketList none(globalHeap());
    REQUIRE(Socket::select(readable, none, none, -1) == Socket::SELECT_OK);
}

} // namespace Tarq::Test
