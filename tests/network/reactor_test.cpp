#include "common/network/reactor.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/network/handlers.h"

#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network;

namespace {

constexpr char cFile[] = "common/network/reactor";

std::string reported(const std::string& text) {
    return std::string(cFile) + ": \nError Message: " + text;
}

/// The result of a step, and what its handlers did.
std::string stepOf(Reactor& reactor, std::string& log) {
    const bool isFine = reactor.handleEvents();
    return std::exchange(log, std::string()) + (isFine ? "ok" : "failed");
}

struct TwoConnections {
    std::string log;
    ConnectedPair a;
    ConnectedPair b;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "what is registered once too often or not at all is reported, and changes nothing") {
    std::string log;
    ConnectedPair pair;
    Reactor reactor(allocator(), 0);
    const struct {
        EventHandlerType type;
        const char* occupied;
        const char* unknown;
    } cases[] = {
        {EVENTHANDLER_READ, "Tried to register a second EventHandler for reading on an occupied socket",
         "trying to unregister unknown EventHandlerRead"},
        {EVENTHANDLER_WRITE, "Tried to register a second EventHandler for writing on an occupied socket",
         "trying to unregister unknown EventHandlerWrite"},
        {EVENTHANDLER_ERROR, "Tried to register a second EventHandler for error on an occupied socket",
         "trying to unregister unknown EventHandlerError"},
    };
    for (const auto& c : cases) {
        CAPTURE(c.type);
        RecordingHandler first(log, "first", c.type, pair.near.get());
        RecordingHandler second(log, "second", c.type, pair.near.get());
        CHECK(outcomeOf([&] { CHECK_FALSE(reactor.unregisterEventHandler(&first)); }) == reported(c.unknown));
        CHECK(reactor.registerEventHandler(&first));
        CHECK(outcomeOf([&] { CHECK_FALSE(reactor.registerEventHandler(&second)); }) == reported(c.occupied));
        // The second one does not throw out the first.
        CHECK(outcomeOf([&] { CHECK_FALSE(reactor.unregisterEventHandler(&second)); }) == reported(c.unknown));
        CHECK(reactor.hasConnection(pair.near.get()));
        CHECK(reactor.unregisterEventHandler(&first));
        CHECK_FALSE(reactor.hasConnection(pair.near.get()));
    }
    RecordingHandler strange(log, "strange", static_cast<EventHandlerType>(3), pair.near.get());
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.registerEventHandler(&strange)); }) ==
          reported("Unknown EventHandlerType tried to register in Reactor, type: 3"));
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.unregisterEventHandler(&strange)); }) ==
          reported("Trief to unregister unkown EventHandlerType: 3"));
    RecordingHandler loose(log, "loose", EVENTHANDLER_READ, nullptr);
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.unregisterEventHandler(&loose)); }) ==
          reported("trying to unregister unknown EventHandlerNoSocket"));

    CHECK(reactor.registerOutHandler(pair.near.get()));
    CHECK(outcomeOf([&] { CHECK(reactor.registerOutHandler(pair.near.get())); }) ==
          reported("Tried to register the same OutHandler twice for sending over socket - forgotten to unregister ?"));
    reactor.unregisterOutHandler(pair.near.get());
    CHECK(outcomeOf([&] { reactor.unregisterOutHandler(pair.near.get()); }) ==
          reported("Tried to unregister OutHandler from list of Handler waiting to write data BUT the socket wasn't "
                   "registered before"));
}

TEST_CASE_FIXTURE(LibraryTest, "a pass reads first, and writes only when there is nothing to read") {
    TwoConnections two;
    Reactor reactor(allocator(), cLongMicroseconds);
    CHECK(stepOf(reactor, two.log) == "ok");
    for (const auto& [name, socket] : {std::pair("a", two.a.near.get()), std::pair("b", two.b.near.get())}) {
        for (const EventHandlerType type : {EVENTHANDLER_ERROR, EVENTHANDLER_WRITE, EVENTHANDLER_READ})
            REQUIRE(reactor.registerEventHandler(makeHandler(two.log, name + std::to_string(type), type, socket)));
    }
    reactor.registerOutHandler(two.b.near.get());
    CHECK(stepOf(reactor, two.log) == "b1 ok");
    sendText(*two.b.far, "x");
    waitReadable(*two.b.near);
    CHECK(stepOf(reactor, two.log) == "b0 ok");
    sendText(*two.a.far, "x");
    waitReadable(*two.a.near);
    CHECK(stepOf(reactor, two.log) == "a0 b0 ok");
    receiveText(*two.a.near, 1);
    receiveText(*two.b.near, 1);
    reactor.registerOutHandler(two.a.near.get());
    CHECK(stepOf(reactor, two.log) == "b1 a1 ok");
}

TEST_CASE_FIXTURE(LibraryTest, "a pass without anything ready ends with its time-out") {
    TwoConnections two;
    Reactor reactor(allocator(), 2000);
    reactor.registerEventHandler(makeHandler(two.log, "a", EVENTHANDLER_READ, two.a.near.get()));
    CHECK(stepOf(reactor, two.log) == "ok");
}

TEST_CASE_FIXTURE(LibraryTest, "the first handler that fails ends the pass, and its connection is told once") {
    TwoConnections two;
    Reactor reactor(allocator(), cLongMicroseconds);
    auto* const failing = makeHandler(two.log, "a", EVENTHANDLER_READ, two.a.near.get());
    failing->mResult = false;
    reactor.registerEventHandler(failing);
    reactor.registerEventHandler(makeHandler(two.log, "b", EVENTHANDLER_READ, two.b.near.get()));
    for (ConnectedPair* const pair : {&two.a, &two.b}) {
        sendText(*pair->far, "x");
        waitReadable(*pair->near);
    }
    CHECK(reactor.takeFailedConnection() == nullptr);
    CHECK(stepOf(reactor, two.log) == "a failed");
    CHECK(stepOf(reactor, two.log) == "a failed");
    CHECK(reactor.takeFailedConnection() == two.a.near.get());
    CHECK(reactor.takeFailedConnection() == nullptr);
    CHECK(stepOf(reactor, two.log) == "a failed");
    // A connection that is gone is not told any more.
    CHECK(reactor.removeConnection(two.a.near.get()));
    CHECK(reactor.takeFailedConnection() == nullptr);
    CHECK(stepOf(reactor, two.log) == "a! b ok");
}

TEST_CASE_FIXTURE(LibraryTest, "a handler may request the removal of connections while it runs") {
    TwoConnections two;
    Reactor reactor(allocator(), cLongMicroseconds);
    auto* const first = makeHandler(two.log, "a", EVENTHANDLER_READ, two.a.near.get());
    first->onEvent = [&] {
        CHECK(reactor.removeConnectionRequest(two.b.near.get()));
        CHECK(reactor.removeConnectionRequest(two.a.near.get()));
        CHECK(reactor.removeConnectionRequest(two.a.near.get()));
    };
    reactor.registerEventHandler(first);
    reactor.registerEventHandler(makeHandler(two.log, "b", EVENTHANDLER_READ, two.b.near.get()));
    reactor.registerEventHandler(makeHandler(two.log, "c", EVENTHANDLER_WRITE, two.a.near.get()));
    for (const ConnectedPair* const pair : {&two.a, &two.b})
        reactor.registerOutHandler(pair->near.get());
    sendText(*two.a.far, "x");
    waitReadable(*two.a.near);
    CHECK(stepOf(reactor, two.log) == "a ok");
    CHECK(reactor.removeDirtyConnections());
    CHECK(two.log == "b! a! c! ");
    CHECK_FALSE(reactor.hasConnection(two.a.near.get()));
    // They have left the write-wait list as well.
    for (const ConnectedPair* const pair : {&two.a, &two.b})
        CHECK(reactor.registerOutHandler(pair->near.get()));
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.removeConnectionRequest(two.a.near.get())); }) ==
          reported("Tried to remove unknown connection"));
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.removeConnection(two.a.near.get())); }) ==
          reported("Couldn't remove Connection within Reactor"));
}

TEST_CASE_FIXTURE(LibraryTest, "a handler may register connections, and remove others that are ready, while it runs") {
    TwoConnections two;
    ConnectedPair third;
    ConnectedPair fourth;
    Reactor reactor(allocator(), cLongMicroseconds);
    auto* const first = makeHandler(two.log, "a", EVENTHANDLER_READ, two.a.near.get());
    first->onEvent = [&] {
        for (const ConnectedPair* const pair : {&third, &fourth})
            reactor.registerEventHandler(makeHandler(two.log, "new", EVENTHANDLER_READ, pair->near.get()));
    };
    reactor.registerEventHandler(first);
    reactor.registerEventHandler(makeHandler(two.log, "b", EVENTHANDLER_READ, two.b.near.get()));
    for (ConnectedPair* const pair : {&two.a, &two.b, &third}) {
        sendText(*pair->far, "x");
        waitReadable(*pair->near);
    }
    CHECK(stepOf(reactor, two.log) == "a b ok");
    first->onEvent = [&] { CHECK(reactor.removeConnection(third.near.get())); };
    CHECK(stepOf(reactor, two.log) == "a new! b ok");
    // What its owner knows the connection by may be another one's from the request on.
    first->onEvent = [&] { CHECK(reactor.removeConnectionRequest(two.b.near.get())); };
    CHECK(stepOf(reactor, two.log) == "a ok");
}

TEST_CASE_FIXTURE(LibraryTest, "a requested removal that is not possible any more is reported, and not tried again") {
    TwoConnections two;
    Reactor reactor(allocator(), 0);
    TCPSocket* const gone = two.a.near.get();
    for (TCPSocket* const socket : {gone, two.b.near.get()}) {
        reactor.registerEventHandler(makeHandler(two.log, "x", EVENTHANDLER_READ, socket));
        CHECK(reactor.removeConnectionRequest(socket));
    }
    CHECK(reactor.removeConnection(gone));
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.removeDirtyConnections()); }) ==
          reported("Couldn't remove Connection within Reactor") + "; " + reported("Couldn't removed dirty connection"));
    CHECK(reactor.hasConnection(two.b.near.get()));
    CHECK(reactor.removeDirtyConnections());
    CHECK_FALSE(reactor.hasConnection(two.b.near.get()));

    // The last handler takes the request with it, which does not meet the next connection at the same address either.
    RecordingHandler handler(two.log, "y", EVENTHANDLER_READ, gone);
    reactor.registerEventHandler(&handler);
    CHECK(reactor.removeConnectionRequest(gone));
    CHECK(reactor.unregisterEventHandler(&handler));
    CHECK(reactor.removeDirtyConnections());
    reactor.registerEventHandler(&handler);
    CHECK(reactor.removeDirtyConnections());
    CHECK(reactor.unregisterEventHandler(&handler));
}

TEST_CASE_FIXTURE(LibraryTest, "a reactor deletes the handlers of the connections that are left") {
    TwoConnections two;
    RecordingHandler loose(two.log, "loose", EVENTHANDLER_READ, nullptr);
    const std::string outcome = outcomeOf([&] {
        Reactor reactor(allocator(), 0);
        reactor.registerEventHandler(makeHandler(two.log, "a", EVENTHANDLER_READ, two.a.near.get()));
        reactor.registerEventHandler(makeHandler(two.log, "b", EVENTHANDLER_ERROR, two.b.near.get()));
        reactor.registerEventHandler(makeHandler(two.log, "c", EVENTHANDLER_WRITE, two.b.near.get()));
        reactor.removeConnectionRequest(two.b.near.get());
        reactor.registerEventHandler(&loose);
    });
    CHECK(outcome == reported("mHandlerNoSocket are still existing"));
    CHECK(two.log == "c! b! a! ");
}

TEST_CASE_FIXTURE(LibraryTest, "handlers without socket are called in every pass, until one fails") {
    std::string log;
    Reactor reactor(allocator(), 0);
    RecordingHandler a(log, "a", EVENTHANDLER_READ, nullptr);
    RecordingHandler b(log, "b", static_cast<EventHandlerType>(7), nullptr);
    RecordingHandler c(log, "c", EVENTHANDLER_ERROR, nullptr);
    for (RecordingHandler* const handler : {&a, &b, &c})
        CHECK(reactor.registerEventHandler(handler));
    CHECK(reactor.handleNoSocketEvents());
    CHECK(std::exchange(log, "") == "a b c ");
    b.onEvent = [&] {
        reactor.unregisterEventHandler(&a);
        reactor.unregisterEventHandler(&b);
    };
    CHECK(reactor.handleNoSocketEvents());
    CHECK(std::exchange(log, "") == "a b c ");
    reactor.registerEventHandler(&a);
    c.mResult = false;
    CHECK_FALSE(reactor.handleNoSocketEvents());
    CHECK(std::exchange(log, "") == "c ");
    reactor.unregisterEventHandler(&a);
    reactor.unregisterEventHandler(&c);
}

TEST_CASE_FIXTURE(LibraryTest, "a wait that fails is reported with the socket error, and by whose fault") {
    TwoConnections two;
    Reactor reactor(allocator(), cLongMicroseconds);
    reactor.registerEventHandler(makeHandler(two.log, "b", EVENTHANDLER_READ, two.b.near.get()));
    reactor.registerEventHandler(makeHandler(two.log, "a", EVENTHANDLER_READ, two.a.near.get()));
    const int handle = static_cast<int>(two.a.near->getHandle());
    const int copy = dup(handle);
    close(handle);
    CHECK(outcomeOf([&] { CHECK_FALSE(reactor.handleEvents()); }) ==
          reported("Reactor received socket error during select call on registered connections: The descriptor "
                   "specified in the s parameter is not a socket."));
    CHECK(reactor.takeFailedConnection() == two.a.near.get());
    CHECK(reactor.takeFailedConnection() == nullptr);
    dup2(copy, handle);
    close(copy);
}

TEST_CASE_FIXTURE(LibraryTest, "a registration that finds no memory changes nothing") {
    TwoConnections two;
    auto& ledger = *new LedgerAllocator;
    Reactor reactor(Memory::AllocatorPtr(&ledger), 0);
    RecordingHandler handler(two.log, "a", EVENTHANDLER_READ, two.a.near.get());
    RecordingHandler loose(two.log, "b", EVENTHANDLER_READ, nullptr);
    for (EventHandler* const each : {static_cast<EventHandler*>(&handler), static_cast<EventHandler*>(&loose)}) {
        int granted = 0;
        for (bool isDone = false; !isDone; ++granted) {
            ledger.mLeft = granted;
            const std::string outcome = outcomeOf([&] { isDone = reactor.registerEventHandler(each); });
            CHECK(outcome == (isDone ? "" : reported("There is no memory to register an EventHandler")));
            CHECK(reactor.hasConnection(two.a.near.get()) == (isDone && each == &handler));
        }
        CHECK(granted > 1);
        // The rest needs none.
        ledger.mLeft = 0;
        CHECK(reactor.handleEvents());
        CHECK(reactor.unregisterEventHandler(each));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a reactor has no more connections than it can wait for") {
    Reactor reactor(allocator(), 0);
    for (const auto& [wanted, granted] : {std::pair(0u, 0u), std::pair(63u, 63u), std::pair(64u, 63u)}) {
        reactor.setLimits({.mMaxConnections = wanted});
        CHECK(reactor.getLimits().mMaxConnections == granted);
    }
}
