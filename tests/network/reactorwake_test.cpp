#include "common/network/reactor.h"
#include "common/network/tcppacketsendhandler.h"

#include "tests/network/handlers.h"
#include "tests/support/refusedcall.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include <poll.h>
#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network;

namespace {

using Clock = std::chrono::steady_clock;

/// What a peer receives; less than that after a long time.
std::string receiveSoon(TCPSocket& peer, std::size_t length) {
    Socket::SocketList readable(globalHeap(), {&peer});
    Socket::SocketList none(globalHeap());
    const bool isReady = Socket::select(readable, none, none, cLongMicroseconds) == Socket::SELECT_OK;
    return isReady ? receiveText(peer, length) : "nothing";
}

/// Returns when the thread sleeps, which is in a wait if it takes no lock that others hold; after a long time anyway.
void awaitSleep(const std::atomic<long>& threadID) {
    const auto end = Clock::now() + std::chrono::microseconds(cLongMicroseconds);
    for (bool isAsleep = false; !isAsleep && Clock::now() < end; std::this_thread::yield()) {
        std::ifstream file("/proc/self/task/" + std::to_string(threadID) + "/stat");
        std::string line;
        std::getline(file, line);
        isAsleep = line.find(") S") != std::string::npos;
    }
}

/// A reactor with a connection that messages can be queued for.
struct Sender {
    Sender(const Memory::AllocatorPtr& allocator, int32 timeoutMicroseconds) : reactor(allocator, timeoutMicroseconds) {
        for (Connection& each : connections) {
            TCPSocket* const near = each.pair.near.get();
            each.handler = new (allocator) TCPPacketSendHandler(near, &reactor);
            REQUIRE(reactor.registerEventHandler(each.handler));
            RecordingHandler* const reader = makeHandler(log, "read", EVENTHANDLER_READ, near);
            reader->onEvent = [near] { receiveText(*near, 1); };
            REQUIRE(reactor.registerEventHandler(reader));
        }
    }

    /// Takes the message over. What the peer gets of it soon.
    std::string sendOver(std::size_t connection, const std::string& text) {
        IO::Stream* const message = makeMessage(text);
        if (!connections[connection].handler->queueMessage(message)) {
            delete message;
            return "not queued";
        }
        return receiveSoon(*connections[connection].pair.far, text.size() + 4);
    }

    struct Connection {
        ConnectedPair pair;
        TCPPacketSendHandler* handler = nullptr;
    };
    std::string log;
    std::array<Connection, 3> connections;
    Reactor reactor;
};

/// Drives the reactor. A peer that says something ends a wait in any case, and so this.
class Driver {
public:
    explicit Driver(Sender& sender)
        : mPeer(*sender.connections[0].pair.far), mThread([this, &reactor = sender.reactor] {
              mThreadID = gettid();
              while (!mIsDone)
                  CHECK(reactor.handleEvents());
          }) {}
    ~Driver() {
        mIsDone = true;
        sendText(mPeer, "x");
        mThread.join();
    }
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    void awaitWait() const { awaitSleep(mThreadID); }

private:
    TCPSocket& mPeer;
    std::atomic<bool> mIsDone = false;
    std::atomic<long> mThreadID = 0;
    std::thread mThread;
};

/// The descriptors of handles that end waits.
std::vector<int> listWakeHandles() {
    std::vector<int> handles;
    for (const std::string& descriptor : listDescriptors()) {
        if (descriptor.find("[eventfd]") != std::string::npos)
            handles.push_back(std::stoi(descriptor));
    }
    return handles;
}

bool isReadable(int descriptor) {
    pollfd polled{descriptor, POLLIN, 0};
    return poll(&polled, 1, 0) == 1;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a message that another thread queues ends a wait, however long") {
    for (const int32 timeoutMicroseconds : {-1, std::numeric_limits<int32>::max()}) {
        CAPTURE(timeoutMicroseconds);
        Sender sender(allocator(), timeoutMicroseconds);
        const Driver driver(sender);
        bool isHeard = true;
        for (const char* const text : {"first", "second", ""}) {
            driver.awaitWait();
            isHeard = isHeard && sender.sendOver(1, text) == packetOf(text);
        }
        CHECK(isHeard);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "no message is left lying when many threads queue while the reactor goes to wait") {
    constexpr int cRounds = 500;
    Sender sender(allocator(), -1);
    std::array<int, 3> heard{};
    {
        const Driver driver(sender);
        std::vector<std::thread> hosts;
        for (std::size_t host = 0; host < heard.size(); ++host) {
            hosts.emplace_back([&, host] {
                // Each message has to be heard before the next one could wake for it.
                while (heard[host] < cRounds) {
                    const std::string text = std::to_string(heard[host]);
                    if (sender.sendOver(host, text) != packetOf(text))
                        return;
                    ++heard[host];
                }
            });
        }
        for (std::thread& host : hosts)
            host.join();
    }
    for (const int count : heard)
        CHECK(count == cRounds);
}

TEST_CASE_FIXTURE(LibraryTest, "a message that crosses a limit ends a wait") {
    Sender sender(allocator(), cLongMicroseconds);
    sender.reactor.setLimits({.mMaxQueuedMessages = 0});
    std::atomic<long> threadID = 0;
    TCPSocket* failed = nullptr;
    const auto start = Clock::now();
    std::thread network([&] {
        threadID = gettid();
        CHECK(sender.reactor.handleEvents());
        failed = sender.reactor.takeFailedConnection();
    });
    awaitSleep(threadID);
    CHECK(sender.sendOver(2, "x") == "not queued");
    network.join();
    CHECK(failed == sender.connections[2].pair.near.get());
    CHECK(Clock::now() - start < std::chrono::microseconds(cLongMicroseconds / 2));
}

TEST_CASE_FIXTURE(LibraryTest, "the handle that ends waits is left alone while nobody waits") {
    Sender sender(allocator(), -1);
    const std::vector<int> handles = listWakeHandles();
    REQUIRE(handles.size() == 1);
    // Twice: once never waited, once after a wait that a message has ended.
    for (int round = 0; round < 2; ++round) {
        CAPTURE(round);
        for (Sender::Connection& each : sender.connections)
            CHECK(each.handler->queueMessage(makeMessage("x")));
        CHECK_FALSE(isReadable(handles[0]));
        const Driver driver(sender);
        for (const Sender::Connection& each : sender.connections)
            CHECK(receiveSoon(*each.pair.far, 5) == packetOf("x"));
        driver.awaitWait();
        CHECK(sender.sendOver(1, "y") == packetOf("y"));
    }
    CHECK_FALSE(isReadable(handles[0]));
}

TEST_CASE_FIXTURE(LibraryTest, "where the system refuses the handle, a message is seen after the time-out") {
    std::unique_ptr<Sender> sender;
    whereRefused({SYS_eventfd2}, EMFILE, [&] { sender = std::make_unique<Sender>(allocator(), 2000); });
    REQUIRE(sender);
    CHECK(listWakeHandles().empty());
    {
        const Driver driver(*sender);
        for (const char* const text : {"first", "second"}) {
            driver.awaitWait();
            CHECK(sender->sendOver(1, text) == packetOf(text));
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a handle that does not do what it should is not waited for any more") {
    constexpr std::chrono::microseconds cTimeout(2000);
    std::array<int, 2> pipe{};
    REQUIRE(::pipe(pipe.data()) == 0);
    close(pipe[1]);
    const struct {
        const char* name;
        void (*spoil)(int handle, int hungUp);
    } cases[] = {
        {"hung up", [](int handle, int hungUp) { dup2(hungUp, handle); }},
        {"closed", [](int handle, int) { close(handle); }},
        {"signalled by a stranger", [](int handle, int) { CHECK(write(handle, "12345678", 8) == 8); }},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        Sender sender(allocator(), static_cast<int32>(cTimeout.count()));
        const std::vector<int> handles = listWakeHandles();
        REQUIRE(handles.size() == 1);
        const int copy = dup(handles[0]);
        c.spoil(handles[0], pipe[0]);
        CHECK(sender.reactor.handleEvents());
        for (int pass = 0; pass < 3; ++pass) {
            const auto start = Clock::now();
            CHECK(sender.reactor.handleEvents());
            CHECK(Clock::now() - start >= cTimeout);
        }
        CHECK(sender.reactor.takeFailedConnection() == nullptr);
        {
            const Driver driver(sender);
            CHECK(sender.sendOver(1, "x") == packetOf("x"));
        }
        dup2(copy, handles[0]);
        close(copy);
    }
    close(pipe[0]);
}
