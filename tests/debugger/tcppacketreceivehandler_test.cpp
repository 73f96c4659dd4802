#include "common/debugger/tcppacketreceivehandler.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/network/handlers.h"
#include "tests/support/recordinglistener.h"

#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network;

namespace {

constexpr uint32 cLimit = 1000;
constexpr uint32 cClient = 7;

/// A handler that is put into any state.
class ReceiveHandler : public Debugger::TCPPacketReceiveHandler {
public:
    using InputHandler::mState;
    using TCPPacketReceiveHandler::TCPPacketReceiveHandler;

    bool initialize() override { return mCanBegin; }

    bool mCanBegin = true;
};

/// A reactor with one connection that receives, and what its handler tells.
struct Receiver final : Debugger::PacketListener {
    explicit Receiver(const Memory::AllocatorPtr& allocator)
        : reactor(allocator, cLongMicroseconds),
          handler(new (allocator) ReceiveHandler(pair.near.get(), this, cClient, cLimit)) {
        REQUIRE(reactor.registerEventHandler(handler));
    }

    void messageReceived(uint32 clientID, IO::Stream* message) override {
        CHECK(clientID == cClient);
        CHECK(message->getName() == "stream");
        std::string bytes(static_cast<std::size_t>(message->getLength()), '?');
        message->seek(0, IO::Stream::SORIGIN_BEGIN);
        message->read(bytes.data(), bytes.size());
        messages.push_back(bytes);
    }
    void connectionLost(uint32 clientID) override {
        CHECK(clientID == cClient);
        ++lost;
        reactor.removeConnectionRequest(pair.near.get());
    }

    /// Sends what is to arrive in one piece, and goes on until it has been taken, or the connection is lost.
    void arrive(const std::string& bytes) {
        sendText(*pair.far, bytes);
        waitReadable(*pair.near);
        while (lost == 0 && isReadable())
            reactor.handleEvents();
    }
    /// Goes on until the connection is lost.
    void lose() {
        while (lost == 0)
            reactor.handleEvents();
    }
    bool isReadable() {
        Socket::SocketList readable(globalHeap(), {pair.near.get()});
        Socket::SocketList none(globalHeap());
        return Socket::select(readable, none, none, 0) == Socket::SELECT_OK;
    }

    std::vector<std::string> messages;
    int lost = 0;
    ConnectedPair pair;
    Reactor reactor;
    ReceiveHandler* handler;
};

constexpr char cFile[] = "common/debugger/tcppacketreceivehandler";

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "messages are put together, however their bytes arrive") {
    for (const std::size_t piece : {std::size_t(1), std::size_t(3), std::size_t(255), std::size_t(5000)}) {
        CAPTURE(piece);
        Receiver receiver(allocator());
        std::vector<std::string> sent;
        for (const std::size_t length : {std::size_t(1), std::size_t(0), std::size_t(256), std::size_t(257),
                                         std::size_t(cLimit), std::size_t(0), std::size_t(5)}) {
            sent.push_back(patternOf(length));
            const std::string packet = packetOf(sent.back());
            // The length in one piece.
            receiver.arrive(packet.substr(0, 4));
            for (std::size_t at = 4; at < packet.size(); at += piece)
                receiver.arrive(packet.substr(at, piece));
        }
        CHECK(receiver.messages == sent);
        CHECK(receiver.lost == 0);
        CHECK(receiver.handler->getState() == INSTATE_READ_LENGTH);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "messages that arrive together are told one by one, at most 256 bytes in a pass") {
    Receiver receiver(allocator());
    sendText(*receiver.pair.far, packetOf(patternOf(300)) + packetOf("") + packetOf("x"));
    // Begin, length, twice data, length, length, data.
    const std::size_t told[] = {0, 0, 0, 1, 2, 2, 3};
    waitReadable(*receiver.pair.near);
    for (const std::size_t count : told) {
        CHECK(receiver.reactor.handleEvents());
        CHECK(receiver.messages.size() == count);
    }
    CHECK(receiver.messages == Texts{patternOf(300), "", "x"});
}

TEST_CASE_FIXTURE(LibraryTest, "what is no packet loses the connection, and only that") {
    const std::string limit = " bytes crosses the limit of 1000 ";
    const struct {
        const char* name;
        std::string bytes;
        bool closes;
        std::size_t messages;
        std::string logged;
    } cases[] = {
        {"the end instead of a length", "", true, 0, ""},
        {"the end behind a message", packetOf("x"), true, 1, ""},
        {"the end behind a length", packetOf("1234").substr(0, 4), true, 0, ""},
        {"the end inside a message", packetOf("1234").substr(0, 7), true, 0, ""},
        {"a length above the limit", packetOf(std::string(cLimit + 1, 'x')), false, 0,
         "Connection 7 is given up: a message of 1001" + limit},
        {"a length that is negative for some", "\xFF\xFF\xFF\xFF", false, 0,
         "Connection 7 is given up: a message of 4294967295" + limit},
        {"a request of the web", "GET / HTTP/1.1\r\n\r\n", false, 0,
         "Connection 7 is given up: a message of 1195725856" + limit},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        const RecordingListener log(Debug::LOG_ERROR);
        Receiver receiver(allocator());
        sendText(*receiver.pair.far, c.bytes);
        if (c.closes)
            receiver.pair.far.reset();
        receiver.lose();
        CHECK(receiver.messages.size() == c.messages);
        CHECK(log.messages() == c.logged);
        CHECK(receiver.handler->getState() == INSTATE_FAILED);
        CHECK_FALSE(receiver.handler->handleEvent());
        CHECK(receiver.lost == 1);
        CHECK(receiver.reactor.takeFailedConnection() == receiver.pair.near.get());
        CHECK(receiver.reactor.removeDirtyConnections());
        CHECK_FALSE(receiver.reactor.hasConnection(receiver.pair.near.get()));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a length in two pieces is reported, and loses the connection") {
    Receiver receiver(allocator());
    const ExpectedAssertion expected("\nError Message: the length of the message couldn't be read within this try",
                                     cFile);
    receiver.arrive(std::string(3, '\0'));
    CHECK(receiver.lost == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "a reset of the connection loses it") {
    Receiver receiver(allocator());
    sendText(*receiver.pair.near, "never read");
    waitReadable(*receiver.pair.far);
    receiver.pair.far.reset();
    receiver.lose();
    CHECK(receiver.messages.empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a readiness that is over by then is no failure") {
    Receiver receiver(allocator());
    for (int event = 0; event < 3; ++event)
        CHECK(receiver.handler->handleEvent());
    receiver.arrive(packetOf("x").substr(0, 4));
    CHECK(receiver.handler->getState() == INSTATE_READ_DATA);
    CHECK(receiver.handler->handleEvent());
    receiver.arrive("x");
    CHECK(receiver.messages == Texts{"x"});
}

TEST_CASE_FIXTURE(LibraryTest, "a message that there is no memory for loses the connection, with a log entry") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr allocator(&ledger);
    int granted = 0;
    for (bool isDone = false; !isDone; ++granted) {
        REQUIRE(granted < 30);
        const RecordingListener log(Debug::LOG_ERROR);
        Receiver receiver(allocator);
        ledger.mLeft = granted;
        receiver.arrive(packetOf("message").substr(0, 4));
        if (receiver.lost == 0)
            receiver.arrive("message");
        isDone = receiver.lost == 0;
        ledger.mLeft = -1;
        CHECK(log.messages() == (isDone ? "" : "Connection 7 is given up: No Memory available "));
    }
    CHECK(granted > 4);
}

TEST_CASE_FIXTURE(LibraryTest, "states that cannot be are reported") {
    Receiver receiver(allocator());
    receiver.handler->mState = static_cast<InputHandlerState>(4);
    const ExpectedAssertion expected("\nError Message: TCPPacketReceiveHandler is in unknown InputHandlerState: 4",
                                     cFile);
    CHECK_FALSE(receiver.handler->handleEvent());
    CHECK(receiver.handler->getState() == INSTATE_FAILED);
    receiver.handler->mState = INSTATE_INIT;
    receiver.handler->mCanBegin = false;
    CHECK_FALSE(receiver.handler->handleEvent());
    CHECK(receiver.handler->getState() == INSTATE_FAILED);
}
