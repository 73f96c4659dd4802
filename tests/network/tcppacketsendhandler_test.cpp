#include "common/network/tcppacketsendhandler.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/network/handlers.h"
#include "tests/support/hex.h"
#include "tests/support/recordinglistener.h"

#include <chrono>
#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network;

namespace {

/// A handler that is put into any state.
class SendHandler : public TCPPacketSendHandler {
public:
    using TCPPacketSendHandler::leaveWriteWaitList;
    using TCPPacketSendHandler::mState;
    using TCPPacketSendHandler::TCPPacketSendHandler;

    bool initialize() override { return mCanBegin; }

    bool mCanBegin = true;
};

/// A message that a test keeps its eyes on.
class WatchedMessage : public RecordingStream {
public:
    WatchedMessage(std::string bytes, int& living) : RecordingStream(std::move(bytes)), mLiving(living) { ++mLiving; }
    ~WatchedMessage() override { --mLiving; }

private:
    int& mLiving;
};

/// A reactor with one connection that sends.
struct Sender {
    explicit Sender(const Memory::AllocatorPtr& allocator, int32 timeoutMicroseconds = cLongMicroseconds)
        : reactor(allocator, timeoutMicroseconds), handler(new (allocator) SendHandler(pair.near.get(), &reactor)) {
        REQUIRE(reactor.registerEventHandler(handler));
    }

    /// Goes on until all is sent, and returns how many passes that took.
    int sendAll() {
        int passes = 0;
        do {
            REQUIRE(reactor.handleEvents());
            ++passes;
        } while (handler->getState() != OUTSTATE_IDLE || isWaiting());
        return passes;
    }
    bool isWaiting() {
        const AssertionRecorder whetherItIsListed;
        reactor.registerOutHandler(pair.near.get());
        if (whetherItIsListed.getSeen().empty()) {
            reactor.unregisterOutHandler(pair.near.get());
            return false;
        }
        return true;
    }
    WatchedMessage* queue(const std::string& bytes) {
        auto* const message = new (globalHeap()) WatchedMessage(bytes, living);
        if (!handler->queueMessage(message)) {
            delete message;
            return nullptr;
        }
        return message;
    }

    int living = 0;
    ConnectedPair pair;
    Reactor reactor;
    SendHandler* handler;
};

constexpr char cFile[] = "common/network/tcppacketsendhandler";

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a message goes out as its length and its bytes, at most 256 in a pass") {
    Sender sender(allocator());
    WatchedMessage* const message = sender.queue(patternOf(300));
    // Begin, notice, length.
    for (const OutputHandlerState after :
         {OUTSTATE_IDLE, OUTSTATE_SEND_LENGTH, OUTSTATE_SEND_DATA, OUTSTATE_SEND_DATA}) {
        CHECK(sender.reactor.handleEvents());
        CHECK(sender.handler->getState() == after);
    }
    CHECK(message->takeCalls() == Texts{"seek 0 3", "read 256"});
    CHECK(sender.isWaiting());
    CHECK(sender.reactor.handleEvents());
    CHECK(sender.living == 0);
    CHECK_FALSE(sender.isWaiting());
    CHECK(sender.handler->getState() == OUTSTATE_IDLE);
    const std::string sent = receiveText(*sender.pair.far, 304);
    CHECK(hexOf(sent.data(), 4) == "00 00 01 2c");
    CHECK(sent == packetOf(patternOf(300)));
}

TEST_CASE_FIXTURE(LibraryTest, "messages follow each other in their order, those without bytes among them") {
    Sender sender(allocator());
    std::string expected;
    for (const std::size_t length :
         {std::size_t(0), std::size_t(1), std::size_t(256), std::size_t(0), std::size_t(257), std::size_t(100000)}) {
        sender.queue(patternOf(length));
        expected += packetOf(patternOf(length));
    }
    std::string received;
    std::thread peer([&] { received = receiveText(*sender.pair.far, expected.size()); });
    sender.sendAll();
    peer.join();
    CHECK(received == expected);
    CHECK(sender.living == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a peer that does not read holds up nobody else, and gets everything in the end") {
    Sender slow(allocator());
    ConnectedPair other;
    auto* const quick = new (allocator()) TCPPacketSendHandler(other.near.get(), &slow.reactor);
    REQUIRE(slow.reactor.registerEventHandler(quick));
    // More than the system keeps for a peer that does not read.
    const std::string large = patternOf(16000000);
    WatchedMessage* const message = slow.queue(large);
    quick->queueMessage(makeMessage(patternOf(100000)));
    std::string received;
    std::thread peer([&] { received = receiveText(*other.far, 100004); });
    while (quick->getState() != OUTSTATE_IDLE || slow.handler->getState() != OUTSTATE_SEND_DATA)
        REQUIRE(slow.reactor.handleEvents());
    // A readiness that is over by now is no failure.
    for (int refused = 0; refused < 100; slow.pair.near->hasTakenAll() ? refused = 0 : ++refused)
        REQUIRE(slow.handler->handleEvent());
    peer.join();
    CHECK(received == packetOf(patternOf(100000)));
    CHECK(slow.handler->getState() == OUTSTATE_SEND_DATA);
    // The last bytes that were read found no room, and are to be read again.
    CHECK(message->takeCalls().back().starts_with("seek"));

    std::thread reader([&] { received = receiveText(*slow.pair.far, large.size() + 4); });
    slow.sendAll();
    reader.join();
    CHECK(received == packetOf(large));
}

TEST_CASE_FIXTURE(LibraryTest, "a message that cannot be read makes the handler fail, once and for all") {
    const struct {
        const char* name;
        void (*spoil)(WatchedMessage&);
        int passes;
        const char* text;
    } cases[] = {
        {"its length is refused", [](WatchedMessage& message) { message.failAt(1); }, 3,
         "TCPPacketSendHandler can't read the message: test failure"},
        {"a read fails", [](WatchedMessage& message) { message.failAt(2); }, 4,
         "TCPPacketSendHandler can't read the message: test failure"},
        {"it is shorter than its length", [](WatchedMessage& message) { message.limitReads(0); }, 4,
         "TCPPacketSendHandler found the end of the message after 0 of 300 bytes"},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        Sender sender(allocator());
        c.spoil(*sender.queue(patternOf(300)));
        const std::string outcome = outcomeOf([&] {
            for (int pass = 1; pass < c.passes; ++pass)
                CHECK(sender.reactor.handleEvents());
            CHECK_FALSE(sender.reactor.handleEvents());
        });
        CHECK(outcome == std::string(cFile) + ": \nError Message: " + c.text);
        CHECK(sender.handler->getState() == OUTSTATE_FAILED);
        CHECK_FALSE(sender.reactor.handleEvents());
        CHECK(sender.reactor.takeFailedConnection() == sender.pair.near.get());
        CHECK(sender.living == 1);
        CHECK(sender.reactor.removeConnection(sender.pair.near.get()));
        CHECK(sender.living == 0);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "reads that deliver less than is there are no failure") {
    Sender sender(allocator());
    sender.queue(patternOf(300))->limitReads(7);
    sender.sendAll();
    CHECK(receiveText(*sender.pair.far, 304) == packetOf(patternOf(300)));
}

TEST_CASE_FIXTURE(LibraryTest, "a connection that cannot be sent over is reported") {
    const std::string error = std::string(cFile) + ": \nError Message: Error during send: An unknown error occurred. "
                                                   "Potentially the network stack is completely broken.";
    for (const int passesBefore : {2, 3, 4}) {
        CAPTURE(passesBefore);
        Sender sender(allocator());
        sender.queue(patternOf(300));
        for (int pass = 0; pass < passesBefore; ++pass)
            CHECK(sender.reactor.handleEvents());
        sender.pair.near->disconnect();
        // The system is asked when the last piece of the message is there.
        int eventsLeft = 5 - passesBefore;
        CHECK(outcomeOf([&] {
                  while (eventsLeft > 0 && sender.handler->handleEvent())
                      --eventsLeft;
              }) == error);
        CHECK(sender.handler->getState() == OUTSTATE_FAILED);
        CHECK_FALSE(sender.handler->handleEvent());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "states that cannot be are reported") {
    Sender sender(allocator());
    const std::string none = std::string(cFile) + ": !mMessageStreams.empty()\nError Message: Error: list of messages "
                                                  "is empty but handler is in state to send ";
    const std::pair<OutputHandlerState, std::string> cases[] = {
        {OUTSTATE_SEND_LENGTH, none + "the length of the data"},
        {OUTSTATE_SEND_DATA, none + "data"},
        {static_cast<OutputHandlerState>(5),
         std::string(cFile) + ": \nError Message: TCPPacketSendHandler is in unknown OutputHandlerState: 5"},
    };
    for (const auto& [state, text] : cases) {
        sender.handler->mState = state;
        CHECK(outcomeOf([&] { CHECK_FALSE(sender.handler->handleEvent()); }) == text);
        CHECK(sender.handler->getState() == OUTSTATE_FAILED);
    }
    sender.handler->mState = OUTSTATE_INIT;
    sender.handler->mCanBegin = false;
    CHECK_FALSE(sender.handler->handleEvent());
    CHECK(sender.handler->getState() == OUTSTATE_FAILED);

    sender.queue("x");
    sender.queue("y");
    const ExpectedAssertion expected(
        "\nError Message: Tried to deregister OutputHandler but there are still (2) messages to send",
        "common/network/outputhandler");
    sender.handler->leaveWriteWaitList();
    CHECK_FALSE(sender.isWaiting());
}

TEST_CASE_FIXTURE(LibraryTest, "a peer that lets too much wait is given up, with a log entry") {
    const RecordingListener log(Debug::LOG_ERROR);
    Sender sender(allocator());
    sender.reactor.setLimits({.mMaxQueuedBytes = 1000});
    sender.queue(patternOf(600));
    sender.queue(patternOf(400));
    CHECK(sender.living == 2);
    CHECK(sender.reactor.takeFailedConnection() == nullptr);
    // Whoever queues may hold a lock that a listener waits for.
    CHECK(sender.queue("x") == nullptr);
    CHECK(sender.queue("") == nullptr);
    CHECK(sender.living == 2);
    CHECK(log.messages() == "");
    CHECK(sender.reactor.takeFailedConnection() == sender.pair.near.get());
    CHECK(log.messages() == "Connection is given up: a message of 1 bytes crosses the limit of 1000 bytes that wait to "
                            "be sent ");
    CHECK(log.mHeard[0].function == "Tarq::Common::Network::OutputHandler::queueMessage");

    // Messages without bytes need memory as well; and a limit may be crossed before the handler is registered.
    Sender early(allocator());
    early.reactor.setLimits({.mMaxQueuedMessages = 2});
    CHECK(early.reactor.unregisterEventHandler(early.handler));
    for (int number = 0; number < 3; ++number)
        CHECK((early.queue("") != nullptr) == (number < 2));
    CHECK(early.reactor.takeFailedConnection() == nullptr);
    CHECK(early.reactor.registerEventHandler(early.handler));
    CHECK(early.reactor.takeFailedConnection() == early.pair.near.get());
    CHECK(log.mHeard.size() == 2);

    // What has been sent does not count.
    Sender other(allocator());
    other.reactor.setLimits({.mMaxQueuedBytes = 1000});
    for (int round = 0; round < 3; ++round) {
        other.queue(patternOf(1000));
        other.sendAll();
    }
    CHECK(other.reactor.takeFailedConnection() == nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "a message that cannot be queued stays its caller's") {
    auto& ledger = *new LedgerAllocator;
    Sender sender{Memory::AllocatorPtr(&ledger)};
    int granted = 0;
    for (bool isDone = false; !isDone; ++granted) {
        ledger.mLeft = granted;
        CHECK(outcomeOf([&] { isDone = sender.queue("x") != nullptr; }) == "");
        ledger.mLeft = -1;
        CHECK(sender.living == (isDone ? 1 : 0));
    }
    CHECK(granted > 1);
    sender.sendAll();
    CHECK(receiveText(*sender.pair.far, 5) == packetOf("x"));

    Memory::MemoryStream closed("closed", 10);
    closed.close();
    CHECK_FALSE(sender.handler->queueMessage(&closed));
}

TEST_CASE_FIXTURE(LibraryTest, "messages may be queued before their handler is registered, and are deleted with it") {
    constexpr std::chrono::microseconds cTimeout(20000);
    Sender sender(allocator(), cTimeout.count());
    ConnectedPair pair;
    {
        TCPPacketSendHandler early(pair.near.get(), &sender.reactor);
        early.queueMessage(makeMessage("early"));
        // The socket could be written all the time, with nobody to do it.
        const auto start = std::chrono::steady_clock::now();
        CHECK(sender.reactor.handleEvents());
        CHECK(std::chrono::steady_clock::now() - start >= cTimeout);
        CHECK(sender.reactor.registerEventHandler(&early));
        for (int pass = 0; pass < 4; ++pass)
            CHECK(sender.reactor.handleEvents());
        CHECK(receiveText(*pair.far, 9) == packetOf("early"));
        // Messages that wait while it is away are sent when it comes back.
        early.queueMessage(makeMessage("later"));
        CHECK(sender.reactor.unregisterEventHandler(&early));
        CHECK(sender.reactor.registerEventHandler(&early));
        for (int pass = 0; pass < 3; ++pass)
            CHECK(sender.reactor.handleEvents());
        CHECK(receiveText(*pair.far, 9) == packetOf("later"));

        early.queueMessage(makeMessage("never sent"));
        CHECK(sender.reactor.unregisterEventHandler(&early));
        early.queueMessage(makeMessage("neither"));
    }
    // Nothing is left that could be met.
    CHECK(sender.reactor.registerOutHandler(pair.near.get()));
}
