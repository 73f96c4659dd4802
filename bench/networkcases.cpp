#include "bench/blockingclient.h"
#include "bench/cases.h"
#include "bench/echoserver.h"
#include "bench/secondthread.h"

#include <chrono>

namespace Tarq::Bench {

namespace {

/// A server with its clients.
template <class Server>
struct Connected {
    Connected(Answer answer, uint32 numClients) : server(answer) {
        for (uint32 number = 0; number < numClients; ++number) {
            clients.emplace_back(server.getPort());
            server.accept();
        }
    }

    Server server;
    std::vector<BlockingClient> clients;
};

/// The server runs on the second thread.
template <class Server>
class Session {
public:
    Session(Answer answer, uint32 numClients) : mConnected(answer, numClients) {
        SecondThread::get().start([this] {
            const PinnedThread there(1);
            mConnected.server.serve();
        });
    }
    ~Session() {
        try {
            end();
        } catch (...) {
            // This thread has failed as well, and that is what is reported.
        }
    }

    /// Every client sends a packet, and then receives the answer to it.
    void exchange(const std::string& packet, std::string& answer) const {
        for (const BlockingClient& client : mConnected.clients)
            client.send(packet);
        for (const BlockingClient& client : mConnected.clients)
            client.receive(answer);
    }
    void end() {
        if (mHasEnded)
            return;
        mHasEnded = true;
        mConnected.clients.clear();
        SecondThread::get().wait();
    }

private:
    const PinnedThread mHere{0};
    Connected<Server> mConnected;
    bool mHasEnded = false;
};

template <class Server, Answer cAnswer, uint32 cClients, std::size_t cSize, std::size_t cAnswerSize>
void exchangePackets(benchmark::State& state) {
    Session<Server> session(cAnswer, cClients);
    const std::string packet = packetOf(cSize);
    const std::string expected = packetOf(cAnswerSize);
    std::string answer(expected.size(), '?');
    session.exchange(packet, answer);
    for (auto _ : state) {
        answer[0] = '?';
        session.exchange(packet, answer);
    }
    check(answer == expected, "an answer is wrong");
    session.end();
    countOperationsOfBothThreads(state, static_cast<uint64>(state.iterations()) * cClients);
}

/// What a server costs that nobody asks anything.
template <class Server>
void idle(benchmark::State& state) {
    constexpr uint32 cClients = 60;
    using Clock = std::chrono::steady_clock;
    Connected<Server> connected(Answer::ANSWER_SAME, cClients);
    const auto start = Clock::now();
    for (auto _ : state)
        connected.server.step();
    // In the first passes, handlers begin; and a loop may round a wait down to its own clock.
    const auto shortest = std::chrono::milliseconds(cWaitMilliseconds - 1) * (state.iterations() - 3);
    check(Clock::now() - start >= shortest, "an idle server wakes too often");
}

template <uint32 cClients>
Case echo(const char* name, double goal) {
    return {name,
            exchangePackets<OurServer, Answer::ANSWER_SAME, cClients, 100, 100>,
            {{"libuv", goal, exchangePackets<UvServer, Answer::ANSWER_SAME, cClients, 100, 100>}}};
}

} // namespace

std::vector<Case> networkCases() {
    return {
        echo<1>("network/echo-1-connection", 1.1),
        echo<10>("network/echo-10-connections", 1.4),
        echo<60>("network/echo-60-connections", 1.5),
        {"network/10-mib-to-server",
         exchangePackets<OurServer, Answer::ANSWER_EMPTY, 1, cLargeSize, 0>,
         {{"libuv", 6, exchangePackets<UvServer, Answer::ANSWER_EMPTY, 1, cLargeSize, 0>}}},
        {"network/10-mib-from-server",
         exchangePackets<OurServer, Answer::ANSWER_LARGE, 1, 0, cLargeSize>,
         {{"libuv", 6, exchangePackets<UvServer, Answer::ANSWER_LARGE, 1, 0, cLargeSize>}}},
        // Processor time of one wait.
        {"network/idle-60-connections", idle<OurServer>, {{"libuv", 0, idle<UvServer>}}},
    };
}

} // namespace Tarq::Bench
