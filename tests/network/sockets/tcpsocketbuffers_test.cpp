#include "common/network/sockets/tcpsocket.h"

#include "tests/network/sockets/connectedpair.h"
#include "tests/support/streams.h"

#include <algorithm>
#include <thread>

#include <poll.h>

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "small receives return what has arrived, whatever the system has handed over before") {
    ConnectedPair pair;
    ConnectedPair silent;
    const auto isReady = [&](TCPSocket& socket) {
        Socket::SocketList readable(globalHeap(), {silent.near.get(), &socket});
        Socket::SocketList writable(globalHeap(), {silent.near.get()});
        Socket::SocketList none(globalHeap());
        const bool isAny = Socket::select(readable, writable, none, 0) == Socket::SELECT_OK;
        CHECK(writable.size() == 1);
        return isAny && readable.size() == 1 && readable[0] == &socket;
    };
    sendText(*pair.far, "abcdef");
    waitReadable(*pair.near);
    CHECK(receiveText(*pair.near, 4) == "abcd");
    CHECK(isReady(*pair.near));
    waitReadable(*pair.near);
    // The rest and what has come since arrive in one piece.
    sendText(*pair.far, "gh");
    pollfd more{static_cast<int>(pair.near->getHandle()), POLLIN, 0};
    REQUIRE(poll(&more, 1, -1) == 1);
    char text[4] = {};
    CHECK(pair.near->tryReceive(text, 4, 0) == 4);
    CHECK(std::string(text, 4) == "efgh");
    CHECK_FALSE(isReady(*pair.near));
    CHECK(pair.near->tryReceive(text, 4, 0) == TCPSocket::NOT_YET);

    const std::string bytes = patternOf(100000);
    std::thread sender([&] { sendText(*pair.far, bytes); });
    std::string received;
    for (std::size_t length = 1; received.size() < bytes.size(); length = length * 3 % 20011)
        received += receiveText(*pair.near, std::min(length, bytes.size() - received.size()));
    sender.join();
    CHECK(received == bytes);

    // What ends the connection comes behind the bytes, and once.
    sendText(*pair.near, "never read");
    waitReadable(*pair.far);
    sendText(*pair.far, "last");
    pair.far.reset();
    CHECK(receiveText(*pair.near, 2) == "la");
    REQUIRE(poll(&more, 1, -1) == 1);
    CHECK(pair.near->receive(text, 4, 0) == 2);
    CHECK(isReady(*pair.near));
    CHECK(pair.near->receive(text, 4, 0) == -1);
    CHECK(Socket::getLastError() == 10054);
    CHECK(pair.near->receive(text, 4, 0) == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "what stays here because more follows is sent in its place, and when there is room") {
    constexpr uint32 cPiece = 256;
    ConnectedPair pair;
    // More than the system keeps for a peer that does not read.
    const std::string bytes = patternOf(40000000);
    for (const uint32 perMessage : {~uint32{0}, 7 * cPiece, 2 * cPiece}) {
        CAPTURE(perMessage);
        auto length = static_cast<uint32>(bytes.size());
        uint32 sent = 0;
        const auto sendPiece = [&] {
            // A piece of which a part was taken goes on behind that.
            const uint32 end = std::min((sent / cPiece + 1) * cPiece, length);
            const bool isLast = end == length || end % perMessage == 0;
            const int count = pair.near->trySend(
                bytes.data(), end, sent, isLast ? TCPSocket::CONTINUATION_NONE : TCPSocket::CONTINUATION_FOLLOWS);
            sent += count > 0 ? static_cast<uint32>(count) : 0;
            return count;
        };
        int count = 0;
        while (count >= 0 && sent < length)
            count = sendPiece();
        REQUIRE(count == TCPSocket::NOT_YET);
        length = std::min(length, sent + 1000000);
        std::string received;
        std::thread peer([&] { received = receiveText(*pair.far, length); });
        while (sent < length) {
            count = sendPiece();
            REQUIRE((count > 0 || count == TCPSocket::NOT_YET));
        }
        peer.join();
        CHECK(received == bytes.substr(0, length));
    }

    // A failure comes with the call that finds it.
    CHECK(pair.near->trySend("x", 1, 0, TCPSocket::CONTINUATION_FOLLOWS) == 1);
    pair.near->disconnect();
    CHECK(pair.near->trySend("x", 1, 0, TCPSocket::CONTINUATION_FOLLOWS) == 1);
    CHECK(pair.near->trySend("x", 1, 0) == -1);
    CHECK(Socket::getLastError() == 10058);
}
