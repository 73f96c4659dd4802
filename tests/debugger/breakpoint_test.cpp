#include "common/debugger/model/breakpointinstance.h"

#include "tests/debugger/holdingtest.h"
#include "tests/parser/formula/formulatest.h"

#include <functional>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// "The variable count is so much."
std::string conditionOf(const char* count) {
    const Body variable = expression("UnsignedInteger32", "variable", "><name>count</name>");
    return element("condition", op("equal", variable, lit("UnsignedInteger32", count)));
}

int32 setCondition(BreakpointInstance& breakpoint, const std::string& document) {
    RecordingStream stream(document);
    return breakpoint.setCondition(&stream);
}

/// Has the server's thread come by a breakpoint.
class PassingHandler final : public Network::Message::MessageHandler {
public:
    explicit PassingHandler(SteppedWorld& world) : MessageHandler(99), mWorld(world) {}
    bool handleMessage(MessageReader*, uint32) override {
        mWorld.ended->enterBreakpoint(mWorld.ben);
        return true;
    }

private:
    SteppedWorld& mWorld;
};

} // namespace

TEST_CASE_FIXTURE(HoldingTest, "what is set decides whether a pass holds, and each pass is recorded once") {
    const uint32 tool = connectTool();
    const struct {
        const char* name;
        std::function<void(SteppedWorld&)> set;
        std::string passes; ///< each counts up; the first finds 42
    } rows[] = {
        {"nothing", [](SteppedWorld&) {}, "passed passed passed "},
        {"a stop of the instance", [](SteppedWorld& world) { world.ann->stopInNextBreakpoint(); },
         "held passed passed "},
        {"a stop of another one", [](SteppedWorld& world) { world.ben->stopInNextBreakpoint(); },
         "passed passed passed "},
        {"a stop of the module", [](SteppedWorld& world) { world.module->stopInNextBreakpoint(); },
         "held passed passed "},
        {"both stops, one after the other",
         [](SteppedWorld& world) {
             world.ann->stopInNextBreakpoint();
             world.module->stopInNextBreakpoint();
         },
         "held held passed "},
        {"an active one", [](SteppedWorld& world) { world.stepped->setActive(); }, "held held held "},
        {"another active one", [](SteppedWorld& world) { world.ended->setActive(); }, "passed passed passed "},
        {"a condition that becomes true",
         [](SteppedWorld& world) {
             world.stepped->setActive();
             CHECK(setCondition(*world.stepped, conditionOf("43")) == BreakpointInstance::CONDITION_SET);
         },
         "passed held passed "},
        {"a true condition of an inactive one",
         [](SteppedWorld& world) { CHECK(setCondition(*world.stepped, conditionOf("42")) == 0); },
         "passed passed passed "},
        {"a false condition, and a stop",
         [](SteppedWorld& world) {
             world.stepped->setActive();
             CHECK(setCondition(*world.stepped, conditionOf("1")) == 0);
             world.ann->stopInNextBreakpoint();
         },
         "held passed passed "},
        {"a condition that is taken away",
         [](SteppedWorld& world) {
             world.stepped->setActive();
             CHECK(setCondition(*world.stepped, conditionOf("1")) == 0);
             CHECK(setCondition(*world.stepped, "") == 0);
         },
         "held held held "},
        {"the break flag of the instance",
         [](SteppedWorld& world) {
             const Server::DataLock inside(Server::getDataMutex());
             world.ann->setBreakflag(true);
         },
         "held held held "},
        {"the break flag of another one",
         [](SteppedWorld& world) {
             const Server::DataLock inside(Server::getDataMutex());
             world.ben->setBreakflag(true);
         },
         "passed passed passed "},
        {"the client's break flag, until it continues",
         [](SteppedWorld&) { CHECK(Server::getInstance()->setClientBreakflag(0)); }, "held passed passed "},
        {"the client's break flag behind a stop",
         [](SteppedWorld& world) {
             CHECK(Server::getInstance()->setClientBreakflag(0));
             world.module->stopInNextBreakpoint();
         },
         "held passed passed "},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        SteppedWorld world(row.name);
        request(tool, MessageID::CONNECT_MODULE, row.name, uint32{1}, false);
        row.set(world);
        std::string passes;
        for (int count = 0; count < 3; ++count, ++world.count)
            passes += pass(*world.stepped, *world.ann, tool);
        CHECK(passes == row.passes);
        CHECK(world.historyOf(*world.ann) == "0 0 0 ");
        CHECK(world.historyOf(*world.ben) == "");
        CHECK(server().destroyModule(world.module));
    }
}

TEST_CASE_FIXTURE(HoldingTest, "a condition of another type, or none at all, leaves the breakpoint without") {
    const uint32 tool = connectTool();
    for (const std::string& document : {element("condition", lit("Integer32", "1")), std::string("<unfinished")}) {
        CAPTURE(document);
        CHECK(setCondition(*mWorld.stepped, conditionOf("1")) == BreakpointInstance::CONDITION_SET);
        {
            const AssertionRecorder assertions;
            CHECK(setCondition(*mWorld.stepped, document) == BreakpointInstance::CONDITION_NOT_BOOLEAN);
            CHECK(errorsOf(assertions) ==
                  "Tried to set new Condition to Breakpoint (stepped) that isn't of type bool\n");
        }
        CHECK(pass(*mWorld.stepped, *mWorld.ann, tool) == "passed ");
        mWorld.stepped->setActive();
        CHECK(pass(*mWorld.stepped, *mWorld.ann, tool) == "held ");
        mWorld.stepped->setInactive();
    }
}

TEST_CASE_FIXTURE(HoldingTest, "a breakpoint is not entered with what cannot come by it, and nothing is touched then") {
    const uint32 tool = connectTool();
    Debugger::ObjectType* const other = mWorld.agents->createObjectType("runner");
    other->attach();
    ObjectInstance* const stranger = other->createObjectInstance("cal");
    stranger->attach();
    ObjectInstance* const unattached = mWorld.type->createObjectInstance("dan");
    mWorld.module->stopInNextBreakpoint();
    stranger->stopInNextBreakpoint();
    takeAll(tool);
    const struct {
        const char* name;
        ObjectInstance* trigger;
        std::string text;
    } rows[] = {
        {"nothing", nullptr, "Tried to enter Breakpoint with NULL pointer instead of a valid ObjectInstance\n"},
        {"unattached", unattached, "Tried to enter Breakpoint with unattached ObjectInstance\n"},
        {"of another type", stranger,
         "Tried to enter Breakpoint (stepped) with ObjectInstance (cal) of another ObjectType\n"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const AssertionRecorder assertions;
        mWorld.stepped->enterBreakpoint(row.trigger);
        CHECK(errorsOf(assertions) == row.text);
        CHECK(takeAll(tool).empty());
        if (row.trigger)
            CHECK(mWorld.historyOf(*row.trigger) == "");
    }
    CHECK(pass(*mWorld.stepped, *mWorld.ann, tool) == "held ");
}

TEST_CASE_FIXTURE(HoldingTest, "without a client a pass is recorded, says what is wrong, and does not hold") {
    mWorld.stepped->setActive();
    const AssertionRecorder assertions;
    mWorld.stepped->enterBreakpoint(mWorld.ann);
    CHECK(errorsOf(assertions) ==
          "Breakpoint becomes holding but no client is connected (internal error)\n"
          "Module is sending BreakpointState but no client is connected to this module (name: world, version: 1)\n"
          "Couldn't report to client that module has holding breakpoint\n"
          "Can't hold on Breakpoint because module found error\n"
          "Can't hold on Breakpoint because parent ObjectGroup found error\n"
          "Couldn't enter breackpoint ( stepped ) (Breakpoint NOT holding)\n");
    CHECK(mWorld.historyOf(*mWorld.ann) == "0 ");
    CHECK_FALSE(mWorld.type->isBreakpointActivated());
}

TEST_CASE_FIXTURE(HoldingTest, "a state that cannot be sent holds nobody") {
    connectTool();
    mWorld.stepped->setActive();
    mNetwork.mCanSend = false;
    const AssertionRecorder assertions;
    mWorld.stepped->enterBreakpoint(mWorld.ann);
    mNetwork.mCanSend = true;
    CHECK(errorsOf(assertions).starts_with("Couldn't send breakpoint state message to client\n"));
    CHECK(mWorld.historyOf(*mWorld.ann) == "0 ");
    CHECK_FALSE(mWorld.type->isBreakpointActivated());
}

TEST_CASE_FIXTURE(HoldingTest, "the server's own thread is never held, nor does it wait for one that is") {
    const uint32 tool = connectTool();
    CHECK(server().registerMessageHandler(new (allocator()) PassingHandler(mWorld)));
    const std::string wish = messageOf([](MessageBuilder& builder) { builder.write(uint32{99}); });
    mWorld.ended->setActive();
    mWorld.ben->stopInNextBreakpoint();
    mNetwork.send(tool, wish);
    CHECK(mWorld.historyOf(*mWorld.ben) == "1 ");
    mWorld.ann->stopInNextBreakpoint();
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
              mNetwork.send(tool, wish);
              request(tool, MessageID::CONTINUE);
          }) == "held ");
    CHECK(mWorld.historyOf(*mWorld.ben) == "1 1 ");
    mWorld.ended->setInactive();
    CHECK(pass(*mWorld.ended, *mWorld.ben, tool) == "held ");
}

TEST_CASE_FIXTURE(HoldingTest, "the data mutex is let go of altogether while its owner is held") {
    const uint32 tool = connectTool();
    mWorld.stepped->setActive();
    bool isHeldAgain = false;
    HostThread host([&] {
        const Server::DataLock once(Server::getDataMutex());
        {
            const Server::DataLock twice(Server::getDataMutex());
            mWorld.stepped->enterBreakpoint(mWorld.ann);
        }
        isHeldAgain = Server::getDataMutex().isHeld();
    });
    waitForHold();
    // The next one has it as well, and waits at the entry.
    HostThread next([&] {
        const Server::DataLock once(Server::getDataMutex());
        mWorld.ended->enterBreakpoint(mWorld.ben);
    });
    request(tool, MessageID::CONTINUE);
    host.join();
    next.join();
    CHECK(isHeldAgain);
    CHECK_FALSE(Server::getDataMutex().isHeld());
}

TEST_CASE_FIXTURE(HoldingTest, "the state tells where a thread is held, and the values that are stored and watched") {
    const uint32 tool = connectTool();
    server().setGameTime({0x1234});
    CHECK(mWorld.ann->registerWatchedVariable(1));
    CHECK(mWorld.ann->registerWatchedVariable(0));
    mWorld.ann->stopInNextBreakpoint();
    uint32 systemTime = 0;
    std::vector<std::string> messages;
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
              messages = takeAll(tool);
              {
                  Debugger::HistoryEntry* entry = nullptr;
                  const Server::DataLock inside(Server::getDataMutex());
                  CHECK(mWorld.module->getHistory().getLatestEntry(0, entry));
                  systemTime = entry->getSystemTime();
              }
              request(tool, MessageID::CONTINUE);
          }) == "held ");
    REQUIRE(messages.size() == 1);
    const std::string time = messageOf([&](MessageBuilder& builder) { builder.write(systemTime); });
    CHECK(hexOf(messages[0]) == "07 01 00 00 00 "      // breakpoint state
                                "07 00 00 00 00 "      // module
                                "07 00 00 00 00 "      // object instance
                                "07 00 00 12 34 " +    // game time
                                    hexOf(time) +      // system time
                                    " 07 00 00 00 00 " // breakpoint instance
                                    "07 00 00 00 03 "  // count
                                    "07 00 00 00 00 "  // stored: count
                                    "07 00 00 00 01 "  // watched: name, count
                                    "07 00 00 00 00 "  //
                                    "85 00 00 00 05 07 00 00 00 2a "
                                    "85 00 00 00 08 0b 00 00 00 03 61 6e 6e "
                                    "85 00 00 00 05 07 00 00 00 2a");
}

TEST_CASE_FIXTURE(HoldingTest, "a variable that is gone is left out of what is recorded") {
    CHECK(mWorld.ann->registerWatchedVariable(0));
    CHECK(mWorld.ann->registerWatchedVariable(1));
    CHECK(mWorld.ann->unregisterVariable(0));
    const AssertionRecorder assertions;
    mWorld.stepped->enterBreakpoint(mWorld.ann);
    CHECK(errorsOf(assertions) ==
          "Breakpoint (stepped) for ObjectInstance (ann) tries to store unknown Variable (count)\n");
    Debugger::HistoryEntry* entry = nullptr;
    REQUIRE(mWorld.module->getHistory().getLatestEntry(0, entry));
    CHECK(entry->getStored().getVariables().size() == 0);
    CHECK(entry->getWatched().getVariables().size() == 1);
}
