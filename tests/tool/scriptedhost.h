#pragma once

#include "tests/network/message/messages.h"
#include "tests/network/sockets/connectedpair.h"

#include <memory>
#include <string>

namespace Tarq::Test {

/// The identity that the tests give, and the length in front of it.
inline const std::string cIdentityFrame =
    bytesOf("00 00 00 1b 07 01 00 00 0e 0b 00 00 00 03 62 6f 78 0b 00 00 00 04 6a 6f 68 6e 07 00 00 00 02");

/// The message with its length in front.
inline std::string frameOf(const std::string& message) {
    const auto length = static_cast<uint32>(message.size());
    std::string frame;
    for (const int shift : {24, 16, 8, 0})
        frame += static_cast<char>(length >> shift & 0xFF);
    return frame + message;
}

/// "no" as a text is refused with 1; an empty text is accepted.
inline std::string identityReply(const std::string& text = std::string()) {
    return bytesOf(text.empty() ? "07 01 00 00 0f 05 00" : "07 01 00 00 0f 05 01") + bytesOf("0b 00 00 00 ") +
           static_cast<char>(text.size()) + text;
}

/// The host's side of a connection, played by a test. Its port stays the same while it is away.
class ScriptedHost {
public:
    explicit ScriptedHost(int backlog = 16) { listen(HostAddress(IPV4::LOOPBACK, 0), backlog); }

    const HostAddress& getAddress() const { return mAddress; }

    void comeBack() { listen(mAddress, 16); }
    /// Accepts the tool, and takes its identity.
    TCPSocket& meet() {
        accept();
        CHECK(hexOf(receiveText(*mConnection, cIdentityFrame.size())) == hexOf(cIdentityFrame));
        return *mConnection;
    }
    TCPSocket& accept() {
        mConnection.reset(mListener->accept(nullptr));
        REQUIRE(mConnection);
        return *mConnection;
    }
    TCPSocket* connection() { return mConnection.get(); }
    void send(const std::string& bytes) { sendText(*mConnection, bytes); }
    void hangUp() { mConnection.reset(); }
    void leave() {
        hangUp();
        mListener.reset();
    }

private:
    void listen(const HostAddress& address, int backlog) {
        mListener.reset(new (globalHeap()) TCPSocket);
        REQUIRE(mListener->listen(address, backlog));
        REQUIRE(mListener->getLocalAddress(&mAddress));
    }

    HostAddress mAddress;
    SocketOwner mListener;
    SocketOwner mConnection;
};

} // namespace Tarq::Test
