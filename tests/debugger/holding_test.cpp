#include "tests/debugger/holdingtest.h"

#include "common/interface.h"

#include <atomic>
#include <functional>
#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debugger::StepFilter;

namespace {

/// Does what the test says, on the server's thread.
class CallingHandler final : public Network::Message::MessageHandler {
public:
    explicit CallingHandler(std::function<void()> body) : MessageHandler(98), mBody(std::move(body)) {}
    bool handleMessage(MessageReader*, uint32) override {
        mBody();
        return true;
    }

private:
    std::function<void()> mBody;
};

/// Does what the test says in the first assertion, and nothing in those that follow of it.
class CallingAssertions {
public:
    explicit CallingAssertions(std::function<void()> body) : mBefore(Interface::getAssertCallback()) {
        Interface::setAssertCallback(Callback::AssertCallbackPtr(new Assertions(mTexts, std::move(body))));
    }
    ~CallingAssertions() { Interface::setAssertCallback(mBefore); }
    CallingAssertions(const CallingAssertions&) = delete;
    CallingAssertions& operator=(const CallingAssertions&) = delete;

    std::string getTexts() const { return mTexts; }

private:
    struct Assertions final : Callback::AssertCallback {
        Assertions(std::string& texts, std::function<void()> body) : mTexts(texts), mBody(std::move(body)) {}
        void showAssert(const char* message, const char*, unsigned int) override {
            const std::string text = message;
            mTexts += text.substr(text.find("Message: ") + 9) + '\n';
            if (const auto body = std::exchange(mBody, nullptr))
                body();
        }
        std::string& mTexts;
        std::function<void()> mBody;
    };

    std::string mTexts;
    Callback::AssertCallbackPtr mBefore;
};

struct SteppingTest : HoldingTest {
    /// Holds a thread of ann's, which goes on with a step.
    void step(bool isSameInstance, uint32 breakpointType) {
        mWorld.ann->stopInNextBreakpoint();
        CHECK(pass(*mWorld.stepped, *mWorld.ann,
                   [&] { request(mTool, MessageID::MAKE_STEP, isSameInstance, breakpointType); }) == "held ");
    }
    uint32 mTool = connectTool();
};

} // namespace

TEST_CASE_FIXTURE(SteppingTest, "a step ends at the first breakpoint that its filters let through, and only there") {
    const struct {
        const char* name;
        bool isSameInstance;
        uint32 breakpointType;
        std::string passes; ///< of ben at "stepped", ann at "ended", ann at "stepped", and all again
    } rows[] = {
        {"any", false, StepFilter::cAny, "held passed passed passed passed passed "},
        {"the same instance", true, StepFilter::cAny, "passed held passed passed passed passed "},
        {"one type", false, 1, "passed held passed passed passed passed "},
        {"another type", false, 0, "held passed passed passed passed passed "},
        {"one type of the same instance", true, 0, "passed passed held passed passed passed "},
        {"a type that there is not", false, 7, "passed passed passed passed passed passed "},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        step(row.isSameInstance, row.breakpointType);
        std::string passes;
        for (int again = 0; again < 2; ++again) {
            passes += pass(*mWorld.stepped, *mWorld.ben, mTool);
            passes += pass(*mWorld.ended, *mWorld.ann, mTool);
            passes += pass(*mWorld.stepped, *mWorld.ann, mTool);
        }
        CHECK(passes == row.passes);
        request(mTool, MessageID::CONTINUE);
    }
}

TEST_CASE_FIXTURE(SteppingTest, "a step ends in any other module, where a client looks") {
    SteppedWorld other("other");
    step(true, 1);
    {
        const AssertionRecorder assertions;
        CHECK(pass(*other.stepped, *other.ben, mTool) == "passed ");
        CHECK(errorsOf(assertions).starts_with("Breakpoint becomes holding but no client is connected"));
    }
    const uint32 second = connectTool("second", "other");
    CHECK(pass(*other.stepped, *other.ben, second) == "held ");
    CHECK(pass(*mWorld.ended, *mWorld.ann, mTool) == "passed ");
}

TEST_CASE_FIXTURE(SteppingTest, "what ends a step") {
    const struct {
        const char* name;
        std::function<void()> end;
    } rows[] = {
        {"another hold",
         [&] {
             mWorld.ben->stopInNextBreakpoint();
             CHECK(pass(*mWorld.ended, *mWorld.ben, mTool) == "held ");
         }},
        {"its client continues", [&] { request(mTool, MessageID::CONTINUE); }},
        {"its client goes",
         [&] {
             mNetwork.lose(mTool);
             mTool = connectTool();
         }},
        {"its module is disconnected",
         [&] {
             request(mTool, MessageID::DISCONNECT_MODULE, uint32{0});
             request(mTool, MessageID::CONNECT_MODULE, "world", uint32{1}, false);
         }},
        {"its module is taken over", [&] { mTool = connectTool("second", "world", true); }},
        {"its instance is destroyed",
         [&] {
             CHECK(mWorld.type->destroyObjectInstance(mWorld.ann->getID()));
             mWorld.ann = mWorld.make("cal", mWorld.count);
             CHECK(mWorld.ann->getID() == 0);
         }},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        step(true, StepFilter::cAny);
        row.end();
        CHECK(pass(*mWorld.stepped, *mWorld.ann, mTool) == "passed ");
    }
    // With its module, it ends as well.
    SteppedWorld other("other");
    step(true, 1);
    CHECK(server().destroyModule(mWorld.module));
    connectTool("second", "other");
    CHECK(pass(*other.stepped, *other.ben, mTool) == "passed ");
}

TEST_CASE_FIXTURE(SteppingTest, "only the client of the module lets a thread go on") {
    const uint32 second = connectTool("second", "none");
    mWorld.stepped->setActive();
    HostThread host([&] { mWorld.stepped->enterBreakpoint(mWorld.ann); });
    waitForHold();
    request(second, MessageID::CONTINUE);
    {
        const AssertionRecorder assertions;
        request(second, MessageID::MAKE_STEP, false, StepFilter::cAny);
        CHECK(errorsOf(assertions) ==
              "Client (second, ada) tried to makeStep but Module (world) that is connected to Client (desk, ada) has a "
              "holding breakpoint\n");
    }
    mNetwork.lose(second);
    CHECK(isHolding());
    CHECK_FALSE(host.hasReturned());
    request(mTool, MessageID::CONTINUE);
    host.join();
}

TEST_CASE_FIXTURE(SteppingTest, "who is let go on is not let go on again, whatever comes before it has gone") {
    const std::string none = "Tried to make step but no Breakpoint is holding\n";
    Debugger::ClientInfo* client = nullptr;
    const auto makeContinue = [&] { CHECK(server().makeContinue(client)); };
    const struct {
        const char* name;
        std::function<void()> body; ///< in one handler, so that the thread cannot go meanwhile
        std::string errors;
        std::string next;
    } rows[] = {
        {"continue twice", [&] { makeContinue(), makeContinue(); }, "", "passed "},
        {"a step, and continue",
         [&] {
             CHECK(server().makeStep(mTool, false, StepFilter::cAny));
             makeContinue();
         },
         "", "passed "},
        {"continue, and a step",
         [&] {
             makeContinue();
             CHECK_FALSE(server().makeStep(mTool, false, StepFilter::cAny));
         },
         none, "passed "},
        {"a step twice",
         [&] {
             CHECK(server().makeStep(mTool, false, StepFilter::cAny));
             CHECK_FALSE(server().makeStep(mTool, true, StepFilter::cAny));
         },
         none, "held "},
        {"continue, and a disconnect",
         [&] {
             makeContinue();
             server().disconnectModule(*mWorld.module);
         },
         "", "passed "},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        REQUIRE(Server::exitAsync());
        REQUIRE(run());
        // The server has deleted the module of the one before.
        std::destroy_at(&mWorld);
        std::construct_at(&mWorld, "world");
        mTool = connectTool();
        REQUIRE(server().registerMessageHandler(new (allocator()) CallingHandler([&] {
            REQUIRE(server().getClientInfo(client, mTool));
            row.body();
        })));
        const AssertionRecorder assertions;
        mWorld.ann->stopInNextBreakpoint();
        CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
                  mNetwork.send(mTool, messageOf([](MessageBuilder& builder) { builder.write(uint32{98}); }));
              }) == "held ");
        CHECK(pass(*mWorld.stepped, *mWorld.ben, mTool) == row.next);
        CHECK(errorsOf(assertions) == row.errors);
    }
    const AssertionRecorder assertions;
    request(mTool, MessageID::MAKE_STEP, false, StepFilter::cAny);
    CHECK(errorsOf(assertions) == none);
}

TEST_CASE_FIXTURE(HoldingTest, "during a hold the whole tree says so, and other modules that something holds") {
    SteppedWorld other("other");
    Debugger::ObjectGroup* const beside = mWorld.module->createObjectGroup("beside");
    const auto look = [&] {
        std::string text;
        const auto add = [&](const char* name, bool isHolding, bool isActivated) {
            if (isHolding || isActivated)
                text += std::string(name) + (isHolding ? " holds" : "") + (isActivated ? " is activated" : "") + ", ";
        };
        add("server", server().isBreakpointHolding(), false);
        add("module", mWorld.module->isBreakpointHolding(), mWorld.module->isBreakpointActivated());
        add("agents", mWorld.agents->isBreakpointHolding(), mWorld.agents->isBreakpointActivated());
        add("walkers", mWorld.walkers->isBreakpointHolding(), mWorld.walkers->isBreakpointActivated());
        add("beside", beside->isBreakpointHolding(), beside->isBreakpointActivated());
        add("type", mWorld.type->isBreakpointHolding(), mWorld.type->isBreakpointActivated());
        add("step", false, mWorld.step->isBreakflagActivated());
        add("other", other.module->isBreakpointHolding(), other.type->isBreakpointActivated());
        return text;
    };
    CHECK(look() == "");
    mWorld.agents->setBreakflag(true);
    CHECK(look() == "agents is activated, walkers is activated, type is activated, ");
    mWorld.agents->setBreakflag(false);
    mWorld.type->setBreakflag(true);
    CHECK(look() == "type is activated, ");
    mWorld.type->setBreakflag(false);
    mWorld.step->setBreakflag(true);
    CHECK(look() == "step is activated, ");
    mWorld.step->setBreakflag(false);
    const uint32 tool = connectTool();
    mWorld.stepped->setActive();
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
              CHECK(look() == "server holds, module holds is activated, agents holds is activated, walkers holds is "
                              "activated, beside is activated, type holds is activated, step is activated, other is "
                              "activated, ");
              request(tool, MessageID::CONTINUE);
          }) == "held ");
    CHECK(look() == "");
}

TEST_CASE_FIXTURE(HoldingTest, "what a held thread is inside of is not destroyed") {
    const uint32 tool = connectTool();
    mWorld.stepped->setActive();
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
              const AssertionRecorder assertions;
              CHECK_FALSE(mWorld.type->destroyObjectInstance(mWorld.ann->getID()));
              CHECK_FALSE(mWorld.walkers->destroyObjectType(mWorld.type->getID()));
              CHECK_FALSE(server().destroyModule(mWorld.module));
              CHECK(errorsOf(assertions) ==
                    "Tried to destroy ObjectInstance (ann) that has a holding breakpoint\n"
                    "Tried to destroy ObjectType (walker) that has a holding breakpoint\n"
                    "Tried to destroy module (name: world, id: 0, version: 1) that has a holding breakpoint\n");
              CHECK(mWorld.type->destroyObjectInstance(mWorld.ben->getID()));
              request(tool, MessageID::CONTINUE);
          }) == "held ");
    CHECK(mWorld.type->destroyObjectInstance(mWorld.ann->getID()));
    CHECK(server().destroyModule(mWorld.module));
}

TEST_CASE_FIXTURE(HoldingTest, "the other threads wait at the entry, and pass one after the other") {
    const uint32 tool = connectTool();
    mWorld.stepped->setActive();
    std::atomic<int> passed = 0;
    const auto enter = [&](BreakpointInstance& breakpoint) {
        return std::make_unique<HostThread>([&] {
            breakpoint.enterBreakpoint(mWorld.ben);
            ++passed;
        });
    };
    const auto first = enter(*mWorld.stepped);
    waitForHold();
    const auto second = enter(*mWorld.stepped);
    const auto third = enter(*mWorld.ended);
    // The tool sees and changes what it likes meanwhile.
    for (int round = 0; round < 100; ++round) {
        request(tool, MessageID::GET_HISTORY, uint32{0}, uint32{1});
        CHECK(takeAll(tool).size() >= 1);
    }
    CHECK(passed == 0);
    CHECK(mWorld.historyOf(*mWorld.ben) == "0 ");
    for (int hold = 0; hold < 2; ++hold) {
        waitForHold();
        const int before = passed;
        request(tool, MessageID::CONTINUE);
        CHECK(comesTrue([&] { return passed > before; }));
    }
    CHECK(comesTrue([&] { return passed == 3; }));
}

TEST_CASE_FIXTURE(HoldingTest, "a thread that comes to be held while the server stops passes") {
    connectTool();
    mWorld.stepped->setActive();
    std::unique_ptr<HostThread> host;
    mNetwork.mOnInterrupt = [&] {
        const auto waitFor = [](uint32 waiters) {
            REQUIRE(comesTrue([=] { return Server::getDataMutex().getWaiterCount() == waiters; }));
        };
        // The server's thread opens the gate first, and then the clients go behind the host's.
        waitFor(1);
        host = std::make_unique<HostThread>([&] { mWorld.stepped->enterBreakpoint(mWorld.ann); });
        waitFor(2);
    };
    CHECK(Server::exitAsync());
    mNetwork.mOnInterrupt = nullptr;
    CHECK(host->waitFor(std::chrono::seconds(2)));
}

TEST_CASE_FIXTURE(HoldingTest, "a takeover in the middle of a hold that cannot be answered lets the thread go on") {
    connectTool();
    const uint32 second = connectTool("second", "none");
    mWorld.stepped->setActive();
    const AssertionRecorder assertions;
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
              mNetwork.mCanSend = false;
              request(second, MessageID::CONNECT_MODULE, "world", uint32{1}, true);
          }) == "held ");
    CHECK(errorsOf(assertions) == "Couldn't send module disconnect forced message to client\n"
                                  "Couldn't send successful module connect message to client\n");
}

TEST_CASE_FIXTURE(HoldingTest, "the server is not stopped from inside of a breakpoint") {
    bool isRefused = false;
    CHECK(mWorld.ann->unregisterVariable(0));
    const RecordingListener log(Debug::LOG_ERROR);
    const CallingAssertions assertions([&] { isRefused = !Server::exitAsync() && !Server::destroyInstance(); });
    mWorld.stepped->enterBreakpoint(mWorld.ann);
    CHECK(isRefused);
    CHECK(log.mHeard.size() == 2);
}

TEST_CASE_FIXTURE(HoldingTest, "who comes by a breakpoint on its way to be held is not held there") {
    const uint32 tool = connectTool();
    CHECK(mWorld.ann->unregisterVariable(0));
    mWorld.stepped->setActive();
    mWorld.ended->setActive();
    const CallingAssertions assertions([&] { mWorld.ended->enterBreakpoint(mWorld.ben); });
    CHECK(pass(*mWorld.stepped, *mWorld.ann, tool) == "held ");
    CHECK(assertions.getTexts() ==
          "Breakpoint (stepped) for ObjectInstance (ann) tries to store unknown Variable (count)\n"
          "Another BreakpointInstance is already holding (NOT holding additional BreakpointInstances)\n"
          "Couldn't enter breackpoint ( ended ) (Breakpoint NOT holding)\n");
    CHECK(mWorld.historyOf(*mWorld.ann) == "0 ");
    CHECK(mWorld.historyOf(*mWorld.ben) == "");
}

TEST_CASE_FIXTURE(HoldingTest, "who comes by a breakpoint while its condition is computed is not held there") {
    const uint32 tool = connectTool();
    mWorld.stepped->setActive();
    mWorld.ended->setActive();
    // Division of 64-bit numbers that are not fundamental to formulas is reported when it is computed.
    const std::string side = " datatype=\"Double\" expressiontype=\"value\"><value>1</value>";
    const std::string text = "<c datatype=\"Boolean\" expressiontype=\"binaryoperator\" operatortype=\"smaller\"><lhs" +
                             side + "</lhs><rhs" + side + "</rhs></c>";
    Memory::MemoryStream condition("condition", 1000);
    condition.write(text.data(), text.size());
    condition.seek(0, IO::Stream::SORIGIN_BEGIN);
    CHECK(mWorld.stepped->setCondition(&condition) == BreakpointInstance::CONDITION_SET);
    const CallingAssertions assertions([&] { mWorld.ended->enterBreakpoint(mWorld.ben); });
    CHECK(pass(*mWorld.stepped, *mWorld.ann, tool) == "passed ");
    CHECK(mWorld.historyOf(*mWorld.ann) == "0 ");
    CHECK(mWorld.historyOf(*mWorld.ben) == "1 ");
}
