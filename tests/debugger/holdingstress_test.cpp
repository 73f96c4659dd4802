#include "tests/debugger/holdingtest.h"
#include "tests/debugger/scriptedtool.h"
#include "tests/debugger/simulation.h"

#include <algorithm>
#include <atomic>
#include <functional>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debugger::StepFilter;

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds cLongestRound{2};
constexpr int cRounds = 200;

void send(ScriptedTool& tool, MessageID type) {
    tool.send(requestOf(type));
}
void sendStep(ScriptedTool& tool) {
    tool.send(requestOf(MessageID::MAKE_STEP, false, StepFilter::cAny));
}

/// A tool that has heard all registrations of the module.
ScriptedTool connectTo(const char* module, bool isForced = false) {
    ScriptedTool tool = TCPServerTest::connect();
    REQUIRE(tool.identify());
    tool.send(requestOf(MessageID::CONNECT_MODULE, module, uint32{1}, isForced));
    // The answer, two groups, one type, two instances.
    for (int message = 0; message < 6; ++message)
        REQUIRE(tool.receive() != "");
    return tool;
}

void keepBusy(uint32 rounds) {
    static std::atomic<uint32> last;
    for (uint32 round = 0; round < rounds; ++round)
        last = round;
}

struct HoldingTCPTest : TCPServerTest {
    static bool isHolding() { return HoldingTest::isHolding(); }
    /// A thread that is held at "stepped".
    std::unique_ptr<HostThread> hold(SteppedWorld& world) {
        world.ann->stopInNextBreakpoint();
        auto host = std::make_unique<HostThread>([&world] { world.stepped->enterBreakpoint(world.ann); });
        REQUIRE(comesTrue(isHolding));
        return host;
    }
    /// When it has come back, nothing is pending that would hold another.
    void expectReturn(std::unique_ptr<HostThread> host, SteppedWorld& world) {
        host.reset();
        CHECK_FALSE(isHolding());
        ScriptedTool tool = connectTo("world", true);
        HostThread next([&] { world.stepped->enterBreakpoint(world.ben); });
        CHECK(comesTrue([&] { return next.hasReturned() || isHolding(); }));
        CHECK_FALSE(isHolding());
        send(tool, MessageID::CONTINUE);
    }
};

} // namespace

TEST_CASE_FIXTURE(HoldingTCPTest, "no hold stalls, however the tool answers") {
    Random random(1);
    const struct {
        const char* name;
        int rounds;
        bool isActive; ///< a tool that steps needs no active breakpoint
        std::function<void(ScriptedTool&)> answer;
    } rows[] = {
        {"at once", 10000, true, [](ScriptedTool& tool) { send(tool, MessageID::CONTINUE); }},
        {"at random delays", 10000, true,
         [&](ScriptedTool& tool) {
             keepBusy(random.below(20000));
             send(tool, MessageID::CONTINUE);
         }},
        {"twice", 10000, true,
         [&](ScriptedTool& tool) {
             send(tool, MessageID::CONTINUE);
             keepBusy(random.below(3000));
             send(tool, MessageID::CONTINUE);
         }},
        {"with a step", 10000, false, [](ScriptedTool& tool) { sendStep(tool); }},
        {"with a step at random delays", 2000, false,
         [&](ScriptedTool& tool) {
             keepBusy(random.below(20000));
             sendStep(tool);
         }},
        {"with a step twice", 2000, true,
         [](ScriptedTool& tool) {
             sendStep(tool);
             sendStep(tool);
         }},
    };
    REQUIRE(run());
    for (const auto& row : rows) {
        CAPTURE(row.name);
        SteppedWorld world("world");
        ScriptedTool tool = connectTo("world");
        // A step when nothing holds any more is reported.
        const AssertionRecorder assertions;
        if (row.isActive)
            world.stepped->setActive();
        else
            world.ann->stopInNextBreakpoint();
        Clock::duration longest{};
        HostThread host([&] {
            for (int round = 0; round < row.rounds; ++round)
                world.stepped->enterBreakpoint(world.ann);
        });
        for (int round = 0; round < row.rounds; ++round) {
            const Clock::time_point begin = Clock::now();
            const std::string state = tool.receive();
            CHECK(typeOf(state) == static_cast<uint32>(MessageID::BREAKPOINT_STATE));
            row.answer(tool);
            longest = std::max(longest, Clock::now() - begin);
        }
        CHECK(host.waitFor(cLongestRound));
        CHECK(longest < cLongestRound);
        for (const SeenAssertion& seen : assertions.getSeen())
            CHECK(seen.text.ends_with("Tried to make step but no Breakpoint is holding"));
        CHECK(server().destroyModule(world.module));
        CHECK(typeOf(tool.receive()) == static_cast<uint32>(MessageID::MODULE_SHUTDOWN));
    }
}

TEST_CASE_FIXTURE(HoldingTCPTest, "a tool that goes in the middle of a hold lets the thread go on") {
    const struct {
        const char* name;
        std::function<void(ScriptedTool&)> leave;
    } rows[] = {
        {"it disconnects",
         [](ScriptedTool& tool) {
             CHECK(typeOf(tool.receive()) == static_cast<uint32>(MessageID::BREAKPOINT_STATE));
             tool.close();
         }},
        // What it has not read turns its end into a reset.
        {"it is killed", [](ScriptedTool& tool) { tool.close(); }},
        {"it is killed in the middle of a message",
         [](ScriptedTool& tool) {
             sendText(tool.socket(), packetOf(requestOf(MessageID::CONTINUE)).substr(0, 6));
             tool.close();
         }},
        {"it disconnects the module",
         [](ScriptedTool& tool) { tool.send(requestOf(MessageID::DISCONNECT_MODULE, uint32{0})); }},
    };
    REQUIRE(run());
    SteppedWorld world("world");
    for (const auto& row : rows) {
        CAPTURE(row.name);
        for (int round = 0; round < cRounds; ++round) {
            ScriptedTool tool = connectTo("world", true);
            std::unique_ptr<HostThread> host = hold(world);
            row.leave(tool);
            expectReturn(std::move(host), world);
        }
    }
}

TEST_CASE_FIXTURE(HoldingTCPTest, "a module that is taken over in the middle of a hold stays held, until the new owner "
                                  "continues") {
    REQUIRE(run());
    SteppedWorld world("world");
    for (int round = 0; round < cRounds; ++round) {
        ScriptedTool before = connectTo("world", true);
        std::unique_ptr<HostThread> host = hold(world);
        ScriptedTool after = connectTo("world", true);
        CHECK(typeOf(before.receive()) == static_cast<uint32>(MessageID::BREAKPOINT_STATE));
        CHECK(typeOf(before.receive()) == static_cast<uint32>(MessageID::MODULE_DISCONNECT_FORCED));
        send(before, MessageID::CONTINUE);
        CHECK(before.identify()); // it has been handled
        CHECK(isHolding());
        CHECK_FALSE(host->hasReturned());
        send(after, MessageID::CONTINUE);
        expectReturn(std::move(host), world);
    }
}

TEST_CASE_FIXTURE(HoldingTCPTest, "a server that stops lets out who is held, and who waits at the entry, and then "
                                  "deletes the modules") {
    for (int round = 0; round < cRounds; ++round) {
        REQUIRE(run());
        SteppedWorld world("world");
        const ScriptedTool tool = connectTo("world");
        world.stepped->setActive();
        std::unique_ptr<HostThread> held = hold(world);
        std::vector<std::unique_ptr<HostThread>> hosts;
        for (int thread = 0; thread < 3; ++thread) {
            hosts.push_back(std::make_unique<HostThread>([&world] { world.stepped->enterBreakpoint(world.ben); }));
            REQUIRE(comesTrue([&] { return hosts.back()->isAsleep(); }));
        }
        if (round % 2 == 0) {
            CHECK(Server::exitAsync());
        } else {
            CHECK(Server::destroyInstance());
            Server::createInstance(allocator(), {5});
        }
        // They are out of their breakpoints already.
        CHECK(held->waitFor(cLongestRound));
        for (const auto& host : hosts)
            CHECK(host->waitFor(cLongestRound));
        CHECK_FALSE(server().isBreakpointHolding());
        Debugger::Module* module = nullptr;
        CHECK_FALSE(server().getModule(module, "world", 1));
    }
}
