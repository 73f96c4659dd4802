#include "common/network/reactor.h"
#include "common/network/tcppacketsendhandler.h"

#include "tests/network/handlers.h"

#include <array>
#include <atomic>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network;

namespace {

constexpr int cConnections = 4;
constexpr int cHosts = 3;
constexpr int cMessages = 400;

/// What a connection layer does: a table of connections that host threads send over by number.
class Layer {
public:
    explicit Layer(const Memory::AllocatorPtr& allocator) : mReactor(allocator, 1000) {
        for (Entry& entry : mEntries) {
            entry.handler = new (allocator) TCPPacketSendHandler(entry.pair.near.get(), &mReactor);
            REQUIRE(mReactor.registerEventHandler(entry.handler));
        }
    }

    /// Any thread. False when the connection is gone; the message is the caller's then.
    bool send(int connection, IO::Stream* message) {
        const Threading::ScopedLock inside(mReactor.getConnectionLock());
        TCPPacketSendHandler* const handler = mEntries[static_cast<std::size_t>(connection)].handler;
        return handler && handler->queueMessage(message);
    }
    /// Any thread.
    void disconnect(int connection) {
        const Threading::ScopedLock inside(mReactor.getConnectionLock());
        Entry& entry = mEntries[static_cast<std::size_t>(connection)];
        entry.handler = nullptr;
        CHECK(mReactor.removeConnectionRequest(entry.pair.near.get()));
    }
    /// The network thread.
    void step() {
        CHECK(mReactor.removeDirtyConnections());
        CHECK(mReactor.handleEvents());
        CHECK(mReactor.handleNoSocketEvents());
        // The record goes when the reactor has let go of it.
        const Threading::ScopedLock inside(mReactor.getConnectionLock());
        for (Entry& entry : mEntries) {
            if (entry.pair.near && !entry.handler && !mReactor.hasConnection(entry.pair.near.get()))
                entry.pair.near.reset();
        }
    }

    TCPSocket& peer(int connection) { return *mEntries[static_cast<std::size_t>(connection)].pair.far; }

private:
    struct Entry {
        ConnectedPair pair;
        TCPPacketSendHandler* handler = nullptr;
    };
    std::array<Entry, cConnections> mEntries;
    Reactor mReactor;
};

/// A message of a length of its own that says who has sent it, and which one it is.
std::string textOf(int host, int number) {
    return std::string({static_cast<char>(host)}) + std::to_string(number) +
           std::string(static_cast<std::size_t>(number % 400), 'x');
}

/// Takes packets until the connection ends or all have come. Those of each host come in their order.
int checkPackets(TCPSocket& peer) {
    std::array<int, cHosts> next{};
    int count = 0;
    for (; count < cHosts * cMessages; ++count) {
        const std::string prefix = receiveText(peer, 4);
        if (prefix.size() < 4)
            break;
        const auto length = static_cast<unsigned char>(prefix[2]) * 256u + static_cast<unsigned char>(prefix[3]);
        const std::string text = receiveText(peer, length);
        if (text.size() < length)
            break;
        const int host = text[0];
        const bool isExpected = host < cHosts && text == textOf(host, next[static_cast<std::size_t>(host)]++);
        CHECK(isExpected);
        if (!isExpected)
            break;
    }
    return count;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "host threads queue messages while the reactor runs, and connections go meanwhile") {
    Layer layer(allocator());
    std::atomic<bool> isDone = false;
    std::thread network([&] {
        while (!isDone)
            layer.step();
    });
    std::vector<std::thread> hosts;
    for (int host = 0; host < cHosts; ++host) {
        hosts.emplace_back([&, host] {
            for (int number = 0; number < cMessages; ++number) {
                for (int connection = 0; connection < cConnections; ++connection) {
                    IO::Stream* const message = makeMessage(textOf(host, number));
                    if (!layer.send(connection, message))
                        delete message;
                }
                // The last connection goes in the middle of it.
                if (host == 0 && number == cMessages / 2)
                    layer.disconnect(cConnections - 1);
            }
        });
    }
    std::vector<std::thread> peers;
    std::array<int, cConnections> counts{};
    for (int connection = 0; connection < cConnections; ++connection) {
        peers.emplace_back(
            [&, connection] { counts[static_cast<std::size_t>(connection)] = checkPackets(layer.peer(connection)); });
    }
    for (std::thread& thread : hosts)
        thread.join();
    for (std::thread& thread : peers)
        thread.join();
    isDone = true;
    network.join();
    for (int connection = 0; connection < cConnections - 1; ++connection)
        CHECK(counts[static_cast<std::size_t>(connection)] == cHosts * cMessages);
    CHECK(counts[cConnections - 1] < cHosts * cMessages);
}

TEST_CASE_FIXTURE(LibraryTest, "a reactor goes with messages that host threads have queued until the last moment") {
    std::array<std::atomic<int>, cHosts> queued{};
    std::vector<std::thread> hosts;
    {
        Layer layer(allocator());
        for (int host = 0; host < cHosts; ++host) {
            hosts.emplace_back([&, host] {
                // Nobody drives the reactor: they stay in their queues.
                IO::Stream* message = makeMessage("x");
                while (layer.send(host, message)) {
                    ++queued[static_cast<std::size_t>(host)];
                    message = makeMessage("x");
                }
                delete message;
            });
        }
        for (int host = 0; host < cHosts; ++host) {
            while (queued[static_cast<std::size_t>(host)] == 0)
                std::this_thread::yield();
            layer.disconnect(host);
        }
        for (std::thread& thread : hosts)
            thread.join();
    }
    for (const std::atomic<int>& count : queued)
        CHECK(count > 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a reactor without time-out waits until a peer sends") {
    std::string log;
    ConnectedPair pair;
    Reactor reactor(allocator(), -1);
    reactor.registerEventHandler(makeHandler(log, "read", EVENTHANDLER_READ, pair.near.get()));
    std::thread peer([&] { sendText(*pair.far, "x"); });
    CHECK(reactor.handleEvents());
    peer.join();
    CHECK(log == "read ");
}
