#include "tests/debugger/simulation.h"
#include "tests/support/atend.h"

#include <array>
#include <atomic>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// What the threads of a simulation know of each other.
struct Stage {
    Fault fault;
    News news;
    std::atomic<unsigned short> port = 0; ///< 0 while the server does not run
    std::atomic<uint32> steps = 0;        ///< that the tools have made
    std::atomic<int> actingTools = 0;     ///< that have not come to their end
    std::atomic<int> waitingTools = 0;    ///< whose connections are up, or may be
    std::atomic<bool> isHostReady = false;
};

/// A tool with a thread of its own, which does what comes to its mind.
class SimulatedTool {
public:
    SimulatedTool(Stage& stage, uint64 seed, int number) : mStage(stage), mRandom(seed), mNumber(number) {
        ++mStage.actingTools;
        ++mStage.waitingTools;
        mThread = std::thread([this] { run(); });
    }
    ~SimulatedTool() { mThread.join(); }
    SimulatedTool(const SimulatedTool&) = delete;
    SimulatedTool& operator=(const SimulatedTool&) = delete;

private:
    static constexpr std::size_t cMostUnanswered = 10;

    void run() {
        for (int step = 0; step < 200; ++step, ++mStage.steps)
            act();
        --mStage.actingTools;
        // From then on the host only answers.
        while (!mStage.isHostReady)
            std::this_thread::yield();
        finish();
        --mStage.waitingTools;
        waitForEnd();
    }
    void act() {
        if (!mSocket)
            return connect();
        const uint32 what = mRandom.below(12);
        // What is not read fills the connection; then nothing can be sent any more.
        if (what >= 6 || mConversation->countReplies() >= cMostUnanswered)
            return receive();
        if (what == 0)
            say(mConversation->identify(1 + mRandom.below(3)));
        else if (what <= 2)
            say(mConversation->request(ECHO, mRandom.oneIn(8) ? 3000 : mRandom.below(40)));
        else if (what == 3)
            say(mConversation->request(QUESTION, mRandom.below(40)));
        else if (what == 4)
            say(mConversation->request(REMARK, mRandom.below(40)));
        else if (mRandom.oneIn(5))
            leave();
    }
    void connect() {
        const unsigned short port = mStage.port;
        SocketOwner socket(new (Library::getTempAlloc()) TCPSocket);
        if (port == 0 || !socket->connect(HostAddress(IPV4::LOOPBACK, port)))
            return std::this_thread::yield();
        mSocket = std::move(socket);
        mConversation.emplace("tool " + std::to_string(mNumber) + '.' + std::to_string(++mConnections));
        mReader = PacketReader();
    }
    /// Sends in pieces; the length travels in one.
    void say(const std::string& message) {
        const std::string packet = packetOf(message);
        for (std::size_t sent = 0; mSocket && sent < packet.size();) {
            const std::size_t end = std::min(packet.size(), sent + 4 + mRandom.below(packet.size()));
            const int count =
                mSocket->send(packet.data(), static_cast<unsigned int>(end), static_cast<unsigned int>(sent));
            if (count <= 0)
                return leave();
            sent += static_cast<std::size_t>(count);
            // Sometimes in the middle of a message.
            if (mRandom.oneIn(50))
                leave();
        }
    }
    void receive() {
        std::string bytes(1 + mRandom.below(2000), '?');
        const int count = mSocket->tryReceive(bytes.data(), static_cast<unsigned int>(bytes.size()), 0);
        if (count == TCPSocket::NOT_YET)
            return std::this_thread::yield();
        if (count <= 0)
            return leave();
        bytes.resize(static_cast<std::size_t>(count));
        mReader.add(bytes);
        while (const std::optional<std::string> message = mReader.take())
            mConversation->hear(*message, mStage.fault);
    }
    /// Which fails the connection when not everything has been received.
    void leave() {
        mStage.news.check(*mConversation, false, mStage.fault);
        mSocket.reset();
    }
    void finish() {
        if (mSocket)
            say(mConversation->request(ECHO, 0));
        while (mSocket && !mConversation->isAnswered()) {
            Socket::SocketList readable(Library::getTempAlloc(), {mSocket.get()});
            Socket::SocketList none(Library::getTempAlloc());
            if (Socket::select(readable, none, none, cLongMicroseconds) != Socket::SELECT_OK) {
                mStage.fault.note(mConversation->getName() + " waits for replies that do not come");
                return leave();
            }
            receive();
        }
        // The last reply came behind them.
        if (mSocket)
            mStage.news.check(*mConversation, true, mStage.fault);
    }
    void waitForEnd() {
        char byte = 0;
        while (mSocket && mSocket->receive(&byte, 1, 0) > 0) {
        }
    }

    Stage& mStage;
    Random mRandom;
    int mNumber;
    int mConnections = 0;
    SocketOwner mSocket;
    std::optional<Conversation> mConversation;
    PacketReader mReader;
    std::thread mThread;
};

/// What a host does with its server.
class SimulatedHost {
public:
    SimulatedHost(Stage& stage, uint64 seed) : mStage(stage), mRandom(seed) { start(); }

    void act() {
        const uint32 id = mRandom.below(5);
        switch (mRandom.below(60)) {
        case 0:
            stop();
            return start();
        case 1:
            return server().setGameTime({mRandom.below(1000)});
        case 2:
            registerTextHandler(REMARK, [](uint32, const std::string&) {});
            return;
        case 3:
            server().setClientBreakflag(id);
            return;
        case 4:
            sendTo(uint32{100}, NEWS, "nobody");
            return;
        default:
            answer();
            tell(id);
            tellLate();
            look();
        }
    }
    void answer() {
        while (const auto question = mQuestions.take())
            sendTo(question->asker, ANSWER, question->text);
    }
    void stop() {
        mStage.port = 0;
        mStage.fault.check(Server::exitAsync(), "the server does not stop");
        mStage.fault.check(server().getClientCount() == 0, "clients are left");
    }

private:
    static Server& server() { return *Server::getInstance(); }
    void start() {
        mStage.fault.check(Server::runAsync(HostAddress(IPV4::LOOPBACK, 0)), "the server does not start");
        mStage.fault.check(registerEchoesAndQuestions(mQuestions), "a handler is refused");
        mStage.port = server().getListeningAddress().getPort();
    }
    void tell(uint32 id) {
        const Server::DataLock inside(server().getDataMutex());
        ClientKey key;
        if (!server().getClientKey(key, id))
            return;
        Debugger::ClientInfo* info = nullptr;
        server().getClientInfo(info, id);
        if (info->mComputerName.length() == 0)
            return;
        const std::string name = info->mComputerName.c_str();
        mKnown.emplace_back(key, name);
        mStage.fault.check(mStage.news.send(id, name), "news are lost");
    }
    /// To one who may have gone meanwhile, with another one on the connection ID.
    void tellLate() {
        if (mKnown.empty())
            return;
        const auto& [key, name] = mKnown[mRandom.below(mKnown.size())];
        mStage.news.send(key, name);
    }
    /// Every client is found by one connection ID.
    void look() {
        const Server::DataLock inside(server().getDataMutex());
        uint32 count = 0;
        std::map<std::string, uint32> names;
        for (uint32 id = 0; id < 64; ++id) {
            ClientKey key;
            Debugger::ClientInfo* info = nullptr;
            if (!server().getClientKey(key, id))
                continue;
            ++count;
            server().getClientInfo(info, id);
            if (info->mComputerName.length() != 0)
                mStage.fault.check(names.emplace(info->mComputerName.c_str(), id).second, "a client is known twice");
        }
        mStage.fault.check(count == server().getClientCount(), "a connection ID names more than one client");
    }

    Stage& mStage;
    Random mRandom;
    Questions mQuestions;
    std::vector<std::pair<ClientKey, std::string>> mKnown;
};

/// Peers that go, and what the host says to nobody.
bool isExpected(const std::string& assertion) {
    const std::string expected[] = {
        "Error during send: ",
        "Tried to send a message to unknown Connection: connectionID (100)",
        "Tried to set Breakflag for unknown Client",
        "No MessageHandler registered for MessageTypeID: " + std::to_string(REMARK),
        "another messageHandler is already registered for this messageID: " + std::to_string(REMARK),
    };
    return std::any_of(std::begin(expected), std::end(expected),
                       [&](const std::string& text) { return assertion.starts_with("\nError Message: " + text); });
}

std::string simulate(uint64 seed) {
    Stage stage;
    const AssertionRecorder assertions;
    {
        Server::createInstance(Library::getTempAlloc(), {2});
        const AtEnd destroyed{[] { Server::destroyInstance(); }};
        SimulatedHost host(stage, seed);
        const SimulatedTool first(stage, seed + 1000000, 1);
        const SimulatedTool second(stage, seed + 2000000, 2);
        const SimulatedTool third(stage, seed + 3000000, 3);
        for (uint32 steps = 0; stage.actingTools != 0;) {
            if (stage.steps != steps)
                host.act();
            steps = stage.steps;
            std::this_thread::yield();
        }
        stage.isHostReady = true;
        while (stage.waitingTools != 0) {
            host.answer();
            std::this_thread::yield();
        }
        host.stop();
    }
    for (const SeenAssertion& assertion : assertions.getSeen())
        stage.fault.check(isExpected(assertion.text), "asserted was " + assertion.text);
    return stage.fault.get();
}

} // namespace

TEST_CASE("hosts and tools that come and go over TCP are served like those of a simulated network") {
    // One for many of the others: it takes longer, and chance has a part in it.
    const SimulationSeeds seeds(500);
    const uint64 count = (seeds.count + 49) / 50;
    for (uint64 seed = seeds.first; seed < seeds.first + count; ++seed) {
        CAPTURE(seed);
        const LibraryTest library;
        REQUIRE(simulate(seed) == "");
    }
}
