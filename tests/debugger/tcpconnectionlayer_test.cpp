#include "common/debugger/tcpconnectionlayer.h"

#include "tests/debugger/scriptedtool.h"

#include <atomic>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

constexpr uint32 cEcho = 77;

/// Sends back what follows the type.
class EchoHandler final : public Network::Message::MessageHandler {
public:
    explicit EchoHandler(Debugger::Server& server) : MessageHandler(cEcho), mServer(server) {}
    bool handleMessage(MessageReader* reader, uint32 connection) override {
        String text;
        if (!reader->read(text))
            return false;
        auto* const stream = new (globalHeap()) MemoryStream("echo", 256);
        MessageBuilder(stream, true).write(text);
        if (mServer.sendMessage(connection, stream))
            return true;
        delete stream;
        return false;
    }

private:
    Debugger::Server& mServer;
};

std::string echoRequestOf(const std::string& text) {
    return messageOf([&](MessageBuilder& builder) {
        builder.write(cEcho);
        builder.write(text.c_str());
    });
}
std::string echoOf(const std::string& text) {
    return messageOf([&](MessageBuilder& builder) { builder.write(text.c_str()); });
}

/// Takes the descriptors of the process, but for so many.
class TakenDescriptors {
public:
    explicit TakenDescriptors(rlim_t limit) {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        rlimit lower = mBefore;
        lower.rlim_cur = std::min(limit, mBefore.rlim_max);
        setrlimit(RLIMIT_NOFILE, &lower);
    }
    ~TakenDescriptors() {
        for (const int descriptor : mTaken)
            close(descriptor);
        setrlimit(RLIMIT_NOFILE, &mBefore);
    }
    /// Returns how many there are then.
    std::size_t take(std::size_t count) {
        while (mTaken.size() < count) {
            const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
            if (descriptor < 0)
                break;
            mTaken.push_back(descriptor);
        }
        return mTaken.size();
    }
    void giveBack(std::size_t count) {
        for (; count != 0 && !mTaken.empty(); --count) {
            close(mTaken.back());
            mTaken.pop_back();
        }
    }

private:
    rlimit mBefore{};
    std::vector<int> mTaken;
};

} // namespace

TEST_CASE_FIXTURE(TCPServerTest, "a tool says who it is, and gets its connection ID back after the one before") {
    REQUIRE(run());
    for (int again = 0; again < 3; ++again) {
        ScriptedTool tool = connect();
        CHECK(tool.identify());
        {
            const Server::DataLock inside(server().getDataMutex());
            Debugger::ClientInfo* info = nullptr;
            REQUIRE(server().getClientInfo(info, 0));
            CHECK(info->mUserName == "ada");
        }
        tool.close();
        waitForClients(0);
    }
}

TEST_CASE_FIXTURE(TCPServerTest, "a server starts and stops a thousand times on one port, with clients and without") {
    REQUIRE(run());
    const unsigned short port = server().getListeningAddress().getPort();
    REQUIRE(Server::exitAsync());
    for (int cycle = 0; cycle < 1000; ++cycle) {
        CAPTURE(cycle);
        REQUIRE(run(port));
        if (cycle % 4 == 0) {
            ScriptedTool tool = connect();
            if (cycle % 8 == 0)
                CHECK(tool.identify());
            REQUIRE(Server::exitAsync());
            tool.waitForEnd();
        } else {
            REQUIRE(Server::exitAsync());
        }
    }
}

TEST_CASE_FIXTURE(TCPServerTest, "a port that is in use refuses the start, and can be had later") {
    auto listener = std::make_unique<Listener>();
    const unsigned short port = listener->mAddress.getPort();
    const RecordingListener log(Debug::LOG_ERROR);
    CHECK_FALSE(run(port));
    REQUIRE(log.mHeard.size() == 2);
    CHECK(log.mHeard[0].message.starts_with("Error at start listening on socket of debugger server: "));
    CHECK(log.mHeard[0].function == "Tarq::Common::Debugger::TCPConnectionLayer::connect");
    CHECK(log.mHeard[0].file == "common/debugger/tcpconnectionlayer");
    CHECK(log.mHeard[1].message == "Couldn't start debugger server because of error during connect of ConnectionLayer");
    listener.reset();
    CHECK(run(port));
    CHECK(connect().identify());
}

TEST_CASE_FIXTURE(TCPServerTest, "clients come and go in any order, with messages both ways") {
    // Who goes while answers are on their way is told in this way, and no other.
    const AssertionRecorder assertions;
    REQUIRE(run());
    REQUIRE(server().registerMessageHandler(new (allocator()) EchoHandler(server())));
    std::mt19937 random(7);
    std::vector<std::unique_ptr<ScriptedTool>> tools;
    std::vector<Texts> expected;
    for (int made = 0; made < 200;) {
        const std::size_t at = tools.empty() ? 0 : random() % tools.size();
        switch (random() % 4) {
        case 0:
            if (tools.size() < 50) {
                tools.push_back(std::make_unique<ScriptedTool>(server().getListeningAddress()));
                expected.emplace_back();
                ++made;
            }
            break;
        case 1:
            if (!tools.empty() && random() % 2 == 0) {
                tools.erase(tools.begin() + static_cast<std::ptrdiff_t>(at));
                expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(at));
            }
            break;
        case 2:
            if (!tools.empty()) {
                const std::string text = patternOf(random() % 1000);
                // What a C string holds.
                std::string sent;
                for (const char c : text)
                    sent += c == '\0' ? '0' : c;
                tools[at]->send(echoRequestOf(sent));
                expected[at].push_back(sent);
            }
            break;
        default:
            for (; !tools.empty() && !expected[at].empty(); expected[at].erase(expected[at].begin()))
                CHECK(tools[at]->receive() == echoOf(expected[at].front()));
        }
    }
    tools.clear();
    waitForClients(0);
    for (const SeenAssertion& seen : assertions.getSeen())
        CHECK(seen.text.starts_with("\nError Message: Error during send: "));
}

TEST_CASE_FIXTURE(TCPServerTest, "a client that misbehaves is gone, and the others are served") {
    constexpr uint32 cLimit = 1 << 20;
    Network::ConnectionLimits limits;
    limits.mMaxMessageLength = cLimit;
    server().setConnectionLimits(limits);
    REQUIRE(run());
    REQUIRE(server().registerMessageHandler(new (allocator()) EchoHandler(server())));
    ScriptedTool other = connect();
    const struct {
        const char* name;
        std::string bytes;
        bool isKept; ///< the connection
        int assertions;
    } cases[] = {
        {"half a length", std::string(2, '\0'), false, 1},
        {"a request of the web", "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", false, 0},
        {"a length above the limit", std::string("\0\x10\0\1", 4), false, 0},
        {"a length of 4294967295", "\xFF\xFF\xFF\xFF", false, 0},
        {"a length at the limit", packetOf(std::string(cLimit, '\xFF')), true, 2},
        {"an empty message", packetOf(""), true, 2},
        {"an unknown message", packetOf(messageOf([](MessageBuilder& builder) { builder.write(uint32{1}); })), true, 1},
        {"garbage in a packet", packetOf(patternOf(500)), true, 2},
        {"an identity without an end", packetOf(identityOf("desk", "ada", 2).substr(0, 20)), true, 2},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        const AssertionRecorder assertions;
        ScriptedTool tool = connect();
        sendText(tool.socket(), c.bytes);
        if (c.isKept)
            CHECK(tool.identify());
        else
            tool.waitForEnd();
        CHECK(assertions.getSeen().size() == static_cast<std::size_t>(c.assertions));
        other.send(echoRequestOf(c.name));
        CHECK(other.receive() == echoOf(c.name));
    }
}

TEST_CASE_FIXTURE(TCPServerTest, "a message may come byte by byte while others are served") {
    REQUIRE(run());
    ScriptedTool slow = connect();
    const std::string packet = packetOf(identityOf("desk", "ada", 2));
    // The length in one piece.
    sendText(slow.socket(), packet.substr(0, 4));
    for (std::size_t at = 4; at < packet.size(); ++at) {
        sendText(slow.socket(), packet.substr(at, 1));
        if (at % 10 == 0)
            CHECK(connect().identify());
    }
    CHECK(slow.receive() == identityReplyOf(0, ""));
}

TEST_CASE_FIXTURE(TCPServerTest, "host threads send to whoever comes, at any moment") {
    REQUIRE(run());
    const AssertionRecorder assertionsOfUnknownConnections;
    std::atomic<bool> isDone = false;
    std::vector<std::thread> hosts;
    for (int host = 0; host < 2; ++host) {
        hosts.emplace_back([&] {
            Debugger::ClientKey last;
            // So few that they stay below the limit of what waits for a client.
            for (int sent = 0; !isDone;) {
                std::unique_ptr<IO::Stream> message(makeMessage("news"));
                Debugger::ClientKey client;
                const bool isThere = server().getClientKey(client, 0);
                sent = client == last ? sent : 0;
                last = client;
                // Where there is nobody, somebody may be just about to come.
                if (sent < 50 &&
                    (isThere ? server().sendMessage(client, message.get()) : server().sendMessage(0, message.get()))) {
                    static_cast<void>(message.release());
                    ++sent;
                }
            }
        });
    }
    for (int tool = 0; tool < 100; ++tool) {
        // They know it by the first connection ID.
        waitForClients(0);
        CHECK(connect().receive() == "news");
    }
    isDone = true;
    for (std::thread& host : hosts)
        host.join();
    waitForClients(0);
}

TEST_CASE_FIXTURE(TCPServerTest, "a client that does not read is given up at the limit, and only that") {
    Network::ConnectionLimits limits;
    limits.mMaxQueuedBytes = 1 << 20;
    server().setConnectionLimits(limits);
    REQUIRE(run());
    ScriptedTool deaf = connect();
    waitForClients(1);
    ScriptedTool other = connect();
    waitForClients(2);
    const RecordingListener log(Debug::LOG_ERROR);
    const std::string text(100000, 'x');
    for (bool isTaken = true; isTaken;) {
        std::unique_ptr<IO::Stream> message(makeMessage(text));
        isTaken = server().sendMessage(0, message.get());
        if (isTaken)
            static_cast<void>(message.release());
    }
    waitForClients(1);
    REQUIRE(log.mHeard.size() == 1);
    CHECK(other.identify());
}

TEST_CASE_FIXTURE(TCPServerTest, "who comes beyond the limit, or is not let in, finds the connection closed") {
    Network::ConnectionLimits limits;
    limits.mMaxConnections = 2;
    server().setConnectionLimits(limits);
    REQUIRE(run());
    ScriptedTool first = connect();
    CHECK(first.identify());
    ScriptedTool second = connect();
    CHECK(second.identify());
    connect().waitForEnd();
    second.close();
    waitForClients(1);

    struct Filter final : Debugger::AcceptFilter {
        bool isAccepted(const HostAddress& peer) override {
            seen = peer.toString().c_str();
            if (mustThrow)
                throw std::runtime_error("test failure");
            return false;
        }
        std::string seen;
        bool mustThrow = false;
    } filter;
    server().setAcceptFilter(&filter);
    connect().waitForEnd();
    filter.mustThrow = true;
    connect().waitForEnd();
    server().setAcceptFilter(nullptr);
    CHECK(filter.seen == "127.0.0.1");
    CHECK(connect().identify());
    CHECK(server().getClientCount() >= 1);
}

TEST_CASE_FIXTURE(TCPServerTest, "descriptors beyond 1024 are served") {
    TakenDescriptors descriptors(2000);
    if (descriptors.take(1100) < 1100) {
        MESSAGE("the system allows fewer descriptors");
        return;
    }
    REQUIRE(run());
    CHECK(connect().identify());
}

TEST_CASE_FIXTURE(TCPServerTest, "a server without descriptors turns clients away, and serves those it has") {
    REQUIRE(run());
    ScriptedTool other = connect();
    CHECK(other.identify());
    {
        TakenDescriptors descriptors(200);
        const std::size_t taken = descriptors.take(1000);
        REQUIRE(taken < 1000);
        // One for the client's end.
        descriptors.giveBack(1);
        connect().waitForEnd();
        CHECK(other.identify());
    }
    CHECK(connect().identify());
}

TEST_CASE_FIXTURE(TCPServerTest, "what is not connected is reported") {
    REQUIRE(run());
    const std::unique_ptr<IO::Stream> message(makeMessage("x"));
    {
        const ExpectedAssertion expected("\nError Message: Tried to send a message to unknown Connection: connectionID "
                                         "(3)",
                                         "common/debugger/tcpconnectionlayer");
        CHECK_FALSE(server().sendMessage(3, message.get()));
    }
    Debugger::TCPConnectionLayer layer(&server(), {5});
    const ExpectedAssertion expected("\nError Message: Tried to remove a TCPConnection with unknown connectionID (3)",
                                     "common/debugger/tcpconnectionlayer");
    CHECK_FALSE(layer.disconnect(3));
}
