#include "common/network/reactor.h"
#include "common/network/tcppacketsendhandler.h"

#include "tests/network/handlers.h"

#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network;

namespace {

/// How many passes go by, at most, until one looks at every connection.
constexpr uint32 cMostPasses = Reactor::cMostPassesUnasked + 1;

/// A reactor, and a connection whose handler takes one byte of many that have arrived.
struct Busy {
    explicit Busy(const Memory::AllocatorPtr& allocator) : reactor(allocator, 0) {
        enter("a", a);
        send(a, patternOf(1000));
        CHECK(step() == "a ");
        REQUIRE(a.near->hasBytesAhead());
    }

    void enter(const std::string& name, const ConnectedPair& pair) {
        TCPSocket* const socket = pair.near.get();
        RecordingHandler* const handler = makeHandler(log, name, EVENTHANDLER_READ, socket);
        handler->onEvent = [socket] { receiveText(*socket, 1); };
        REQUIRE(reactor.registerEventHandler(handler));
    }
    static void send(const ConnectedPair& pair, const std::string& text) {
        sendText(*pair.far, text);
        waitReadable(*pair.near);
    }
    /// The handlers that a pass calls.
    std::string step() {
        CHECK(reactor.handleEvents());
        return std::exchange(log, std::string());
    }
    /// The number of passes up to the one that calls these.
    uint32 passesUntil(const std::string& called) {
        uint32 passes = 1;
        while (step() != called && passes < 1000)
            ++passes;
        return passes;
    }

    std::string log;
    ConnectedPair a;
    ConnectedPair b;
    Reactor reactor;
};

/// A handler that is in the middle of a message which takes many passes.
struct Sending {
    explicit Sending(const Memory::AllocatorPtr& allocator, std::size_t length = 1000000)
        : text(patternOf(length)), reactor(allocator, 0),
          handler(new (allocator) TCPPacketSendHandler(pair.near.get(), &reactor)),
          message(new (globalHeap()) RecordingStream(text)) {
        REQUIRE(reactor.registerEventHandler(handler));
        REQUIRE(handler->queueMessage(message));
        while (handler->getState() != OUTSTATE_SEND_DATA)
            REQUIRE(reactor.handleEvents());
        message->takeCalls();
    }

    std::string text;
    ConnectedPair pair;
    Reactor reactor;
    TCPPacketSendHandler* handler;
    RecordingStream* message;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a connection with much to read keeps another one waiting for a few passes only") {
    Busy busy(allocator());
    busy.enter("b", busy.b);
    CHECK(busy.step() == "a ");
    busy.send(busy.b, "x");
    CHECK(busy.passesUntil("a b ") <= cMostPasses);
    // Who comes anew waits for no pass.
    ConnectedPair c;
    busy.send(c, "x");
    busy.enter("c", c);
    CHECK(busy.step() == "a c ");
}

TEST_CASE_FIXTURE(LibraryTest, "a connection that goes while it has much to read is not met again") {
    for (const char* const way : {"requested", "removed", "unregistered"}) {
        CAPTURE(way);
        Busy busy(allocator());
        busy.enter("b", busy.b);
        CHECK(busy.step() == "a ");
        busy.send(busy.b, "x");
        RecordingHandler other(busy.log, "other", EVENTHANDLER_ERROR, busy.a.near.get());
        if (way == std::string("requested")) {
            REQUIRE(busy.reactor.removeConnectionRequest(busy.a.near.get()));
            CHECK(busy.passesUntil("b ") <= cMostPasses);
            continue;
        }
        if (way == std::string("unregistered")) {
            REQUIRE(busy.reactor.registerEventHandler(&other));
            REQUIRE(busy.reactor.unregisterEventHandler(&other));
        }
        REQUIRE(busy.reactor.removeConnection(busy.a.near.get()));
        CHECK(std::exchange(busy.log, "") == "a! ");
        busy.a.near.reset();
        CHECK(busy.step() == "b ");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what arrives is read in the middle of a long message that is sent") {
    Sending sending(allocator());
    std::string log;
    RecordingHandler* const reader = makeHandler(log, "read", EVENTHANDLER_READ, sending.pair.near.get());
    reader->onEvent = [&] { receiveText(*sending.pair.near, 1); };
    REQUIRE(sending.reactor.registerEventHandler(reader));
    REQUIRE(sending.reactor.handleEvents());
    for (int round = 0; round < 3; ++round) {
        sendText(*sending.pair.far, "x");
        waitReadable(*sending.pair.near);
        sending.message->takeCalls();
        for (uint32 pass = 0; pass < cMostPasses && log.empty(); ++pass)
            REQUIRE(sending.reactor.handleEvents());
        CHECK(std::exchange(log, "") == "read ");
        // One event sends no more than before.
        for (const std::string& call : sending.message->takeCalls())
            CHECK(call == "read 256");
    }
    std::string received;
    std::thread peer([&] { received = receiveText(*sending.pair.far, sending.text.size() + 4); });
    while (sending.handler->getState() != OUTSTATE_IDLE)
        REQUIRE(sending.reactor.handleEvents());
    peer.join();
    CHECK(received == packetOf(sending.text));
}

TEST_CASE_FIXTURE(LibraryTest, "a handler that has left the write-wait list or is to go sends nothing more") {
    for (const bool isRequested : {false, true}) {
        Sending sending(allocator());
        if (isRequested)
            REQUIRE(sending.reactor.removeConnectionRequest(sending.pair.near.get()));
        else
            sending.reactor.unregisterOutHandler(sending.pair.near.get());
        for (uint32 pass = 0; pass < 2 * cMostPasses; ++pass)
            CHECK(sending.reactor.handleEvents());
        CHECK(sending.message->takeCalls().empty());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a handler whose last bytes found no room is not called until there is some") {
    // More than the system keeps for a peer that does not read.
    Sending sending(allocator(), 16000000);
    TCPSocket& socket = *sending.pair.near;
    Socket::SocketList none(globalHeap());
    Socket::SelectError result = Socket::SELECT_OK;
    while (result == Socket::SELECT_OK) {
        do
            REQUIRE(sending.handler->handleEvent());
        while (socket.hasTakenAll());
        Socket::SocketList writable(globalHeap(), {&socket});
        result = Socket::select(none, writable, none, 0);
    }
    REQUIRE(sending.handler->getState() == OUTSTATE_SEND_DATA);
    sending.message->takeCalls();
    CHECK(sending.reactor.handleEvents());
    CHECK(sending.message->takeCalls().empty());
}
