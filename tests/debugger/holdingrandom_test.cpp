#include "tests/debugger/holdingtest.h"
#include "tests/debugger/scriptedtool.h"
#include "tests/debugger/simulation.h"
#include "tests/parser/formula/formulatest.h"

#include <algorithm>
#include <atomic>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debugger::StepFilter;

namespace {

/// A nested value, as it stands at the end of a request.
std::string nested(const std::string& bytes) {
    return bytesOf("85") + packetOf(bytes);
}
std::string conditionOf(const char* comparison, const char* count) {
    const Body variable = expression("UnsignedInteger32", "variable", "><name>count</name>");
    return element("condition", op(comparison, variable, lit("UnsignedInteger32", count)));
}

/// A tool that asks for what comes to its mind, and answers what holds.
class RandomTool {
public:
    RandomTool(uint32 moduleID, const char* module, uint64 seed)
        : mModuleID(moduleID), mRandom(seed), mTool(TCPServerTest::connect()) {
        REQUIRE(mTool.identify());
        mTool.send(requestOf(MessageID::CONNECT_MODULE, module, uint32{1}, false));
    }

    void act() {
        read();
        if (mIsHolding && mRandom.oneIn(4))
            answer();
        else if (mReplies.size() < 20 && mRandom.oneIn(2))
            ask();
    }
    int countHolds() const { return mHolds; }
    /// Whether everything has been answered.
    bool finish() {
        read();
        if (mIsHolding)
            answer();
        return mReplies.empty();
    }

private:
    template <class... Fields>
    void request(MessageID type, const std::string& rest, const Fields&... fields) {
        mTool.send(requestOf(type, fields...) + rest);
        mReplies.push_back(requestOf(replyTo(type), fields...));
    }
    void answer() {
        mIsHolding = false;
        if (mRandom.oneIn(2))
            mTool.send(requestOf(MessageID::CONTINUE));
        else
            mTool.send(requestOf(MessageID::MAKE_STEP, mRandom.oneIn(2),
                                 mRandom.oneIn(2) ? StepFilter::cAny : mRandom.below(3)));
    }
    void ask() {
        const bool isSet = mRandom.oneIn(2);
        // One of two, and sometimes one that there is not.
        const auto pick = [&] { return mRandom.oneIn(20) ? 9 : mRandom.below(2); };
        const uint32 element = pick();
        switch (mRandom.below(11)) {
        case 0:
            return mTool.send(requestOf(MessageID::CONTINUE));
        case 1:
            return mRandom.oneIn(4) ? mTool.send(requestOf(MessageID::SET_BREAKPOINT_CLIENT)) : answer();
        case 2:
            return request(MessageID::GET_VARIABLE, "", mModuleID, element, pick());
        case 3:
            return request(MessageID::SET_VARIABLE, nested(requestOf(MessageID{mRandom.below(9)})), mModuleID, element,
                           pick());
        case 4:
            return request(MessageID::SET_WATCHES, "", mModuleID, element, pick(), isSet);
        case 5:
        case 6:
            return request(MessageID::SET_BREAKPOINT, "", mModuleID, element, isSet);
        case 7:
            return request(MessageID::SET_BREAKPOINT_CONDITION,
                           nested(isSet ? conditionOf("greater", "4") : std::string(mRandom.below(2), '<')), mModuleID,
                           element);
        case 8:
            return request(MessageID::SET_BREAKPOINT_OBJECT_INSTANCE, "", mModuleID, element, isSet);
        case 9:
            return request(MessageID::GET_HISTORY, "", mModuleID, element);
        default:
            // Of a module that it is not connected to.
            return request(MessageID::GET_VARIABLE, "", 1 - mModuleID, element, pick());
        }
    }
    void read() {
        std::string bytes(4000, '?');
        const int count = mTool.socket().tryReceive(bytes.data(), static_cast<unsigned int>(bytes.size()), 0);
        if (count > 0)
            mReader.add(bytes.substr(0, static_cast<std::size_t>(count)));
        while (const std::optional<std::string> message = mReader.take())
            hear(*message);
    }
    void hear(const std::string& message) {
        const uint32 type = typeOf(message);
        if (type == static_cast<uint32>(MessageID::BREAKPOINT_STATE)) {
            mIsHolding = true;
            ++mHolds;
        } else if (type > static_cast<uint32>(MessageID::REGISTER_OBJECT_INSTANCE)) {
            CHECK_FALSE(mReplies.empty());
            CHECK(message.starts_with(mReplies.empty() ? "nothing" : mReplies.front()));
            mReplies.pop_front();
        }
    }

    uint32 mModuleID;
    Random mRandom;
    ScriptedTool mTool;
    PacketReader mReader;
    bool mIsHolding = false;
    int mHolds = 0;
    std::deque<std::string> mReplies; ///< how those begin that are to come
};

bool isExpected(const std::string& assertion) {
    const std::string expected[] = {
        "Tried to make step but no Breakpoint is holding",        ") tried to makeStep but Module (",
        ") tried to set BreakflagClient but it was already set",  "Tried to set new Condition to Breakpoint (",
        "The replied message doesn't contain the reply variable", "MessageReader verification found wrong type",
    };
    return std::any_of(std::begin(expected), std::end(expected),
                       [&](const std::string& text) { return assertion.find(text) != std::string::npos; });
}

} // namespace

TEST_CASE_FIXTURE(TCPServerTest, "two tools ask and hold at random, and four threads pass all their breakpoints") {
    constexpr int cHolds = 500;
    const SimulationSeeds seeds(2);
    for (uint64 seed = seeds.first; seed < seeds.first + std::min<uint64>(seeds.count, 20); ++seed) {
        CAPTURE(seed);
        REQUIRE(run());
        SteppedWorld first("first", 20);
        SteppedWorld second("second", 20);
        const AssertionRecorder assertions;
        std::atomic<bool> isOver = false;
        RandomTool tools[] = {{0, "first", seed + 1000}, {1, "second", seed + 2000}};
        REQUIRE(comesTrue([&] { return first.module->isClientConnected() && second.module->isClientConnected(); }));
        std::vector<std::unique_ptr<HostThread>> hosts;
        for (uint64 thread = 0; thread < 4; ++thread) {
            hosts.push_back(std::make_unique<HostThread>([&first, &second, &isOver, seed, thread] {
                SteppedWorld& world = thread % 2 == 0 ? first : second;
                Random random(seed + 3000 * thread);
                while (!isOver) {
                    ObjectInstance* const trigger = random.oneIn(2) ? world.ann : world.ben;
                    if (random.oneIn(50))
                        trigger->stopInNextBreakpoint();
                    (random.oneIn(2) ? world.stepped : world.ended)->enterBreakpoint(trigger);
                }
            }));
        }
        const auto haveReturned = [&] {
            for (RandomTool& tool : tools)
                tool.act();
            isOver = isOver || (tools[0].countHolds() >= cHolds && tools[1].countHolds() >= cHolds);
            return std::all_of(hosts.begin(), hosts.end(), [](const auto& host) { return host->hasReturned(); });
        };
        CHECK(comesTrue(haveReturned));
        isOver = true;
        CHECK(comesTrue([&] { return tools[0].finish() && tools[1].finish(); }));
        hosts.clear();
        for (const SeenAssertion& seen : assertions.getSeen())
            CHECK_MESSAGE(isExpected(seen.text), seen.text);
        CHECK(Server::exitAsync());
    }
}
