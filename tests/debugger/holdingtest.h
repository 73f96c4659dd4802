#pragma once

#include "tests/debugger/servertest.h"
#include "tests/support/hostthread.h"

#include "common/debugger/messageid.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"

#include <atomic>
#include <vector>

/// Host threads at breakpoints, and what tools say to that.
namespace Tarq::Test {

using Debugger::BreakpointInstance;
using Debugger::MessageID;
using Debugger::ObjectInstance;
using Debugger::Server;

template <class... Fields>
std::string requestOf(MessageID type, const Fields&... fields) {
    return messageOf([&](MessageBuilder& builder) {
        builder.write(static_cast<uint32>(type));
        (builder.write(fields), ...);
    });
}

/// A module with everything once, and two instances.
struct SteppedWorld {
    explicit SteppedWorld(const char* moduleName, uint32 historyLength = 100)
        : module(Server::getInstance()->createModule(moduleName, 1, historyLength)) {
        step = module->registerBreakpointType("step");
        end = module->registerBreakpointType("end");
        agents = module->createObjectGroup("agents");
        walkers = agents->registerSubObjectGroup("walkers");
        type = walkers->createObjectType("walker");
        type->registerVariableType(STREAM_TYPE_UINT32, "count", true);
        type->registerVariableType(STREAM_TYPE_BSTRING, "name", true);
        Container::List<String> stored(module->getAllocator());
        stored.push_back("count");
        stepped = type->registerBreakpointInstance("stepped", "step", &stored);
        ended = type->registerBreakpointInstance("ended", "end", nullptr);
        type->attach();
        module->attach();
        ann = make("ann", count);
        ben = make("ben", otherCount);
    }
    /// The module knows where the values are.
    SteppedWorld(const SteppedWorld&) = delete;
    SteppedWorld& operator=(const SteppedWorld&) = delete;

    ObjectInstance* make(const char* instance, uint32& place) {
        ObjectInstance* const made = type->createObjectInstance(instance);
        made->registerVariable("count", &place);
        made->registerVariable("name", &name);
        made->attach();
        return made;
    }
    /// The breakpoints that the instance has passed, as they have been recorded.
    std::string historyOf(const ObjectInstance& instance) const {
        const Server::DataLock inside(Server::getDataMutex());
        const Debugger::HistoryEntries* entries = nullptr;
        std::string history;
        if (module->getHistory().getEntries(instance.getID(), entries)) {
            for (const Debugger::HistoryEntry* const entry : *entries)
                history += std::to_string(entry->getBreakpointInstanceID()) + ' ';
        }
        return history;
    }

    Debugger::Module* module;
    Debugger::BreakpointType* step;
    Debugger::BreakpointType* end;
    Debugger::ObjectGroup* agents;
    Debugger::ObjectGroup* walkers;
    Debugger::ObjectType* type;
    BreakpointInstance* stepped;
    BreakpointInstance* ended;
    uint32 count = 42;
    uint32 otherCount = 7;
    String name = "ann";
    ObjectInstance* ann;
    ObjectInstance* ben;
};

/// A world over a network in memory.
struct HoldingTest : ServerTest {
    HoldingTest() : mWorld("world") { REQUIRE(run()); }

    /// A tool that is connected to the module, and has heard what there is.
    uint32 connectTool(const char* computer = "desk", const char* module = "world", bool isForced = false) {
        const uint32 tool = mNetwork.connect();
        mNetwork.send(tool, identityOf(computer, "ada", 2));
        request(tool, MessageID::CONNECT_MODULE, module, uint32{1}, isForced);
        takeAll(tool);
        return tool;
    }
    template <class... Fields>
    void request(uint32 tool, MessageID type, const Fields&... fields) {
        mNetwork.send(tool, requestOf(type, fields...));
    }
    std::vector<std::string> takeAll(uint32 tool) {
        std::vector<std::string> all;
        for (std::string message = mNetwork.takeReply(tool); !message.empty(); message = mNetwork.takeReply(tool))
            all.push_back(message);
        return all;
    }

    /// Whether a thread is held, as the server's thread would see it.
    static bool isHolding() {
        const Server::DataLock inside(Server::getDataMutex());
        return server().isBreakpointHolding();
    }
    static void waitForHold() { REQUIRE(comesTrue(isHolding)); }
    /// Passes the breakpoint on a thread of its own, and has the tool, if it is held, do `answer`.
    template <class Answer>
    std::string pass(BreakpointInstance& breakpoint, ObjectInstance& trigger, const Answer& answer) {
        HostThread host([&] { breakpoint.enterBreakpoint(&trigger); });
        CHECK(comesTrue([&] { return host.hasReturned() || isHolding(); }));
        const bool isHeld = isHolding();
        if (isHeld)
            answer();
        host.join();
        CHECK_FALSE(isHolding());
        return isHeld ? "held " : "passed ";
    }
    /// The same with a tool that continues.
    std::string pass(BreakpointInstance& breakpoint, ObjectInstance& trigger, uint32 tool) {
        return pass(breakpoint, trigger, [&] { request(tool, MessageID::CONTINUE); });
    }

    SteppedWorld mWorld;
};

/// What was asserted, without the conditions.
inline std::string errorsOf(const AssertionRecorder& assertions) {
    static constexpr char cBegin[] = "\nError Message: ";
    std::string all;
    for (const SeenAssertion& seen : assertions.getSeen())
        all += seen.text.substr(seen.text.find(cBegin) + sizeof(cBegin) - 1) + '\n';
    return all;
}

} // namespace Tarq::Test
