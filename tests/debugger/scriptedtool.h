#pragma once

#include "tests/debugger/servertest.h"
#include "tests/network/handlers.h"

#include <chrono>
#include <thread>

namespace Tarq::Test {

/// A client of the running server over TCP, which does what the test says.
class ScriptedTool {
public:
    explicit ScriptedTool(const HostAddress& address) : mSocket(new (globalHeap()) TCPSocket) {
        REQUIRE(mSocket->connect(address));
    }

    void send(const std::string& message) { sendText(*mSocket, packetOf(message)); }
    /// The next message; empty when the server has closed the connection.
    std::string receive() {
        waitForBytes();
        const std::string prefix = receiveText(*mSocket, 4);
        if (prefix.size() < 4)
            return {};
        uint32 length = 0;
        for (const char byte : prefix)
            length = length << 8 | static_cast<unsigned char>(byte);
        return receiveText(*mSocket, length);
    }
    /// Whether the handshake comes to a good end.
    bool identify() {
        send(identityOf("desk", "ada", 2));
        return receive() == identityReplyOf(0, "");
    }
    /// Waits until the server has closed the connection, whatever it sends before.
    void waitForEnd() {
        char bytes[256];
        do
            waitForBytes();
        while (mSocket->receive(bytes, sizeof(bytes), 0) > 0);
    }
    TCPSocket& socket() { return *mSocket; }
    void close() { mSocket.reset(); }

private:
    /// A server that has nothing more to say is a failure, and no endless test.
    void waitForBytes() {
        Socket::SocketList readable(globalHeap(), {mSocket.get()});
        Socket::SocketList none(globalHeap());
        REQUIRE(Socket::select(readable, none, none, cLongMicroseconds) == Socket::SELECT_OK);
    }

    SocketOwner mSocket;
};

/// A server on a free port of the loopback address.
struct TCPServerTest : LibraryTest {
    using Server = Debugger::Server;

    explicit TCPServerTest(uint32 waitMilliseconds = 5) { Server::createInstance(allocator(), {waitMilliseconds}); }
    ~TCPServerTest() { CHECK(Server::destroyInstance()); }

    bool run(unsigned short port = 0) { return Server::runAsync(HostAddress(IPV4::LOOPBACK, port)); }
    static Server& server() { return *Server::getInstance(); }
    static ScriptedTool connect() { return ScriptedTool(server().getListeningAddress()); }
    /// Waits until the server has so many clients.
    static void waitForClients(uint32 count) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(cLongMicroseconds);
        while (server().getClientCount() != count) {
            REQUIRE(std::chrono::steady_clock::now() < end);
            std::this_thread::yield();
        }
    }
};

} // namespace Tarq::Test
