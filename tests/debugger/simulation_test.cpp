#include "tests/debugger/simulatedmodel.h"
#include "tests/debugger/simulatednetwork.h"
#include "tests/support/atend.h"

#include <array>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// A tool that does what comes to its mind.
class SimulatedTool {
public:
    SimulatedTool(SimulatedNetwork& network, Random& random, Fault& fault, const News& news, int number)
        : mNetwork(network), mRandom(random), mFault(fault), mNews(news), mNumber(number) {}

    void act() {
        if (!mConnection)
            return mRandom.oneIn(2) ? connect() : void();
        if (mRandom.oneIn(3))
            return say(mView.ask(mRandom));
        switch (mRandom.below(16)) {
        case 0:
            return say(mConversation->identify(1 + mRandom.below(3)));
        case 1:
        case 2:
        case 3:
            return say(mConversation->request(ECHO, mRandom.oneIn(5) ? 3000 : mRandom.below(40)));
        case 4:
        case 5:
            return say(mConversation->request(QUESTION, mRandom.below(40)));
        case 6:
            return say(mConversation->request(REMARK, mRandom.below(40)));
        case 7:
            mIsReading = mIsReading != mRandom.oneIn(3);
            return;
        case 8:
            if (mRandom.oneIn(4))
                leave();
            return;
        default:
            if (mIsReading)
                read();
        }
    }
    void read() {
        if (!mConnection)
            return;
        mReader.add(mNetwork.receive(*mConnection));
        while (const std::optional<std::string> message = mReader.take()) {
            if (ModelView::isOfModel(*message))
                mView.hear(*message, mFault);
            else
                mConversation->hear(*message, mFault);
        }
        if (SimulatedNetwork::hasEnded(*mConnection))
            forget();
    }
    void resumeReading() { mIsReading = true; }
    /// The connection fails.
    void reset() {
        if (mConnection)
            mConnection->reset();
    }
    bool isConnected() const { return mConnection != nullptr; }
    void letGoOn() {
        if (mConnection)
            say(requestOf(MessageID::CONTINUE));
    }
    /// When there is nothing under way any more.
    void checkAnswered(const SimulatedModel& model) const {
        if (!mConnection)
            return;
        model.check(mConnection->id, mView);
        mFault.check(mConversation->isAnswered(), mConversation->getName() + " waits for replies that do not come");
        mNews.check(*mConversation, true, mFault);
    }

private:
    void connect() {
        const std::string name = "tool " + std::to_string(mNumber) + '.' + std::to_string(++mConnections);
        mConnection = mNetwork.connect(name);
        mConversation.emplace(name);
        mView = ModelView();
        mReader = PacketReader();
        mIsReading = true;
    }
    void say(const std::string& message) { mNetwork.send(*mConnection, packetOf(message)); }
    void leave() {
        mConnection->hasToolClosed = true;
        if (mRandom.oneIn(2))
            mConnection->reset();
        mConnection->toTool.clear();
        forget();
    }
    void forget() {
        mNews.check(*mConversation, false, mFault);
        mConnection = nullptr;
    }

    SimulatedNetwork& mNetwork;
    Random& mRandom;
    Fault& mFault;
    const News& mNews;
    int mNumber;
    int mConnections = 0;
    SimulatedConnectionPtr mConnection;
    std::optional<Conversation> mConversation;
    ModelView mView;
    PacketReader mReader;
    bool mIsReading = true;
};

/// What a host does with its server, and what it knows of it.
class SimulatedHost {
public:
    SimulatedHost(SimulatedNetwork& network, Random& random, Fault& fault, News& news, SimulatedModel& model)
        : mNetwork(network), mRandom(random), mFault(fault), mNews(news), mModel(model) {}

    void act() {
        const uint32 id = mRandom.below(4);
        switch (mRandom.below(isRunning() ? 40 : 10)) {
        case 0:
            return isRunning() ? stop() : start();
        case 1:
        case 2:
            return tell(id);
        case 3:
        case 4:
            return tellLate();
        case 5:
            return look(id);
        case 6:
            return setTime();
        case 7:
            return hearRemarks();
        case 8:
            return setBreakflag(id);
        default:
            answer();
        }
    }
    bool isRunning() const { return mIsRunning; }
    void start() {
        mFault.check(Server::runAsync(ServerTest::cAddress, mNetwork), "the server does not start");
        mFault.check(registerEchoesAndQuestions(mQuestions), "a handler is refused");
        mIsRunning = true;
    }
    void stop() {
        mFault.check(Server::exitAsync(), "the server does not stop");
        checkStopped();
    }
    void checkStopped() {
        mIsRunning = mNetwork.mAreRemarksHeard = false;
        mModel.forget();
        mFault.check(!Server::getInstance() || Server::getInstance()->getClientCount() == 0, "clients are left");
    }
    /// The oldest question; false when there is none.
    bool answer() {
        const auto question = mQuestions.take();
        if (question)
            sendTo(question->asker, ANSWER, question->text);
        return question.has_value();
    }

    /// What has to hold at every moment.
    void check() const {
        const Server::DataLock inside(server().getDataMutex());
        const auto connections = mNetwork.getConnections();
        mFault.check(server().getClientCount() == connections.size(), "there are more clients than connections");
        for (const SimulatedConnectionPtr& connection : connections) {
            ClientKey key;
            Debugger::ClientInfo* info = nullptr;
            const bool isKnown = server().getClientKey(key, connection->id) && key == connection->key &&
                                 server().getClientInfo(info, connection->id) && info->mGeneration == key.mGeneration;
            mFault.check(isKnown, connection->name + " is not the client of its connection ID");
            if (isKnown)
                mFault.check(info->mComputerName == (connection->isNamed ? connection->name.c_str() : "") &&
                                 info->mBreakflag == connection->isBreaking,
                             connection->name + " is known as " + info->mComputerName.c_str());
        }
    }

private:
    static Server& server() { return *Server::getInstance(); }

    void tell(uint32 id) {
        const SimulatedConnectionPtr connection = mNetwork.find(id);
        if (connection)
            mFault.check(mNews.send(id, connection->name) == !connection->isGivenUp, "news are lost");
        else
            mFault.check(!sendTo(id, NEWS, "nobody"), "news are sent to nobody");
    }
    /// To one who may have gone meanwhile, with another one on the connection ID.
    void tellLate() {
        if (mKnown.empty())
            return;
        const SimulatedConnectionPtr known = mKnown[mRandom.below(mKnown.size())];
        const bool isSent = mNews.send(known->key, known->name);
        mFault.check(isSent == (!known->hasServerClosed && !known->isGivenUp), "late news are lost, or sent to others");
    }
    void look(uint32 id) {
        const SimulatedConnectionPtr connection = mNetwork.find(id);
        const auto count = mNetwork.getConnections().size();
        if (connection)
            mKnown.push_back(connection);
        else
            mNetwork.expect("\nError Message: Internal error: missing ClientInfo for connectionID (" +
                            std::to_string(id) + "), known Clients (" + std::to_string(count) + ")");
        const Server::DataLock inside(server().getDataMutex());
        Debugger::ClientInfo* info = nullptr;
        mFault.check(server().getClientInfo(info, id) == (connection != nullptr), "a client is not known");
    }
    void setTime() {
        const Platform::MilliSeconds time = {mRandom.below(1000)};
        server().setGameTime(time);
        mFault.check(server().getGameTime() == time, "the game time is another one");
    }
    void hearRemarks() {
        if (mNetwork.mAreRemarksHeard)
            mNetwork.expect("\nError Message: another messageHandler is already registered for this messageID: " +
                            std::to_string(REMARK));
        const bool isTaken = registerTextHandler(REMARK, [](uint32, const std::string&) {});
        mFault.check(isTaken == (isRunning() && !mNetwork.mAreRemarksHeard), "a handler is refused, or taken twice");
        mNetwork.mAreRemarksHeard = isRunning();
    }
    void setBreakflag(uint32 id) {
        const SimulatedConnectionPtr connection = mNetwork.find(id);
        if (connection)
            connection->isBreaking = true;
        else
            mNetwork.expect("\nError Message: Tried to set Breakflag for unknown Client");
        mFault.check(server().setClientBreakflag(id) == (connection != nullptr), "the break flag is not set");
    }

    SimulatedNetwork& mNetwork;
    Random& mRandom;
    Fault& mFault;
    News& mNews;
    SimulatedModel& mModel;
    Questions mQuestions;
    std::vector<SimulatedConnectionPtr> mKnown;
    bool mIsRunning = false;
};

class Simulation {
public:
    explicit Simulation(uint64 seed) : mRandom(seed) {
        mNetwork.mAround = [this](uint32 id, const std::string& message, const std::function<void()>& event) {
            return mModel.around(id, message, event);
        };
    }

    /// What is wrong; empty when nothing is.
    std::string run() {
        const AssertionRecorder assertions;
        {
            const AtEnd destroyed{[] { Server::destroyInstance(); }};
            Server::createInstance(Library::getTempAlloc(), {0});
            mHost.start();
            for (int step = 0; step < 400 && mFault.get().empty(); ++step)
                act();
            becomeQuiet();
            if (mRandom.oneIn(2))
                mHost.stop();
        }
        seeTheEnd();
        checkAssertions(assertions);
        return mFault.get();
    }

    int countHolds() const { return mModel.countHolds(); }

private:
    void act() {
        mNetwork.advance();
        const uint32 what = mRandom.below(16);
        if (what == 0 && mRandom.oneIn(8))
            mTools[mRandom.below(mTools.size())].reset();
        else if (what < 3)
            mHost.act();
        else if (what == 15)
            mModel.act();
        else if (what < 9)
            mTools[mRandom.below(mTools.size())].act();
        else if (mHost.isRunning())
            mNetwork.runServer();
        mHost.check();
    }
    /// Lets everything arrive and be answered.
    void becomeQuiet() {
        if (!mHost.isRunning())
            mHost.start();
        for (int idle = 0, step = 0; idle < 10 && mFault.get().empty(); ++step) {
            mNetwork.advance();
            mNetwork.runServer();
            const bool isAnswering = mHost.answer();
            const bool isHolding = mModel.isHolding();
            for (SimulatedTool& tool : mTools) {
                tool.read();
                if (isHolding)
                    tool.letGoOn();
            }
            mHost.check();
            idle = mNetwork.isIdle() && !isAnswering && !isHolding ? idle + 1 : 0;
            mFault.check(step < 10000, "it does not become quiet");
        }
        for (const SimulatedTool& tool : mTools)
            tool.checkAnswered(mModel);
    }
    void seeTheEnd() {
        mHost.checkStopped();
        for (SimulatedTool& tool : mTools) {
            for (int step = 0; step < 100 && tool.isConnected(); ++step) {
                mNetwork.advance();
                tool.read();
            }
            mFault.check(!tool.isConnected(), "a tool does not see the end");
        }
    }
    void checkAssertions(const AssertionRecorder& assertions) {
        std::vector<SeenAssertion> seen = assertions.getSeen();
        std::erase_if(seen, [](const SeenAssertion& assertion) { return SimulatedModel::isExpected(assertion.text); });
        const std::vector<std::string>& expected = mNetwork.getExpected();
        for (std::size_t at = 0; at < std::max(seen.size(), expected.size()); ++at) {
            const std::string text = at < seen.size() ? seen[at].text : "nothing";
            const std::string other = at < expected.size() ? expected[at] : "nothing";
            mFault.check(text == other, "asserted was " + text + " instead of " + other);
        }
    }

    Random mRandom;
    Fault mFault;
    SimulatedNetwork mNetwork{mRandom, mFault};
    News mNews;
    SimulatedModel mModel{mRandom, mFault};
    SimulatedHost mHost{mNetwork, mRandom, mFault, mNews, mModel};
    std::array<SimulatedTool, 3> mTools{SimulatedTool(mNetwork, mRandom, mFault, mNews, 0),
                                        SimulatedTool(mNetwork, mRandom, mFault, mNews, 1),
                                        SimulatedTool(mNetwork, mRandom, mFault, mNews, 2)};
};

} // namespace

TEST_CASE("whatever hosts, tools and the network do, requests are answered once, and nothing is left") {
    const SimulationSeeds seeds(300);
    int holds = 0;
    for (uint64 seed = seeds.first; seed < seeds.first + seeds.count; ++seed) {
        CAPTURE(seed);
        const LibraryTest library;
        Simulation simulation(seed);
        REQUIRE(simulation.run() == "");
        holds += simulation.countHolds();
    }
    CHECK((seeds.count < 100 || holds > 200));
}
