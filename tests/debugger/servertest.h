#pragma once

#include "tests/debugger/memorylayer.h"
#include "tests/support/recordinglistener.h"

#include "common/interface.h"

namespace Tarq::Test {

inline const std::string cServer = "common/debugger/server";

/// A server over a network in memory.
struct ServerTest : LibraryTest {
    // Each block is one of the counting memory.
    ServerTest() { Debugger::Server::createInstance(Interface::getGlobalAllocator(), {10}); }
    ~ServerTest() {
        if (Debugger::Server::getInstance())
            CHECK(Debugger::Server::destroyInstance());
    }

    /// Comes back when the server's thread waits for events.
    bool run() {
        if (!Debugger::Server::runAsync(cAddress, mNetwork))
            return false;
        mNetwork.waitForPass();
        return true;
    }
    static Debugger::Server& server() { return *Debugger::Server::getInstance(); }

    static inline const Network::Sockets::HostAddress cAddress{Network::Sockets::IPV4::LOOPBACK, 4711};
    MemoryNetwork mNetwork;
};

/// What a client sends first.
inline std::string identityOf(const char* computer, const char* user, uint32 version) {
    return messageOf([&](MessageBuilder& builder) {
        builder.write(uint32{0x0100000E});
        builder.write(computer);
        builder.write(user);
        builder.write(version);
    });
}
inline std::string identityReplyOf(Common::uint8 code, const std::string& text) {
    return messageOf([&](MessageBuilder& builder) {
        builder.write(uint32{0x0100000F});
        builder.write(code);
        builder.write(text.c_str());
    });
}

} // namespace Tarq::Test
