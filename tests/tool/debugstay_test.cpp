#include "tests/tool/debugsessiontest.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

TEST_CASE_FIXTURE(DebugSessionTest, "a stay does not wait for what cannot come without the module") {
    const ModuleDisconnectForced takeover{World::cModule, "other", "jane\x1b"};
    const std::string taken = "world:1 was taken over by jane\\x1B on other";
    const auto takeAway = [&] {
        host.meetTool();
        host.say(takeover);
        host.seeOff();
    };
    for (const char* const event : {"hold", "registration", "removal", "shutdown"}) {
        CAPTURE(event);
        const std::string kind(event);
        CHECK(run(takeAway, {"debug", "-e", "wait " + kind}) == 4);
        CHECK(told.starts_with("tarq-debug: wait " + kind + ": no " + kind));
        CHECK(told.ends_with(" can come: " + taken + "\n"));
    }
    CHECK(run(takeAway, {"debug", "-e", "wait takeover"}) == 0);
    CHECK(run(takeAway, {"events"}) == 4);
    CHECK(told == "tarq-debug: " + taken + "\n");
    const auto shutDown = [&] {
        host.meetTool();
        host.say(ModuleShutdown{World::cModule});
        host.seeOff();
    };
    CHECK(run(shutDown, {"events", "--json"}) == 4);
    CHECK(written.ends_with(head("shutdown") + "}\n"));
    CHECK(told == "tarq-debug: world:1 was shut down\n");
}

TEST_CASE_FIXTURE(DebugSessionTest, "a person goes on when the module was lost, and is not prompted in JSON") {
    const auto takeTurns = [&] {
        host.say(ModuleDisconnectForced{World::cModule, "other", "jane"});
        host.giveModule(true);
    };
    isTyped = true;
    CHECK(debug(takeTurns, "wait hold\ntakeover\nquit\n") == 0);
    CHECK(written.find("tarq-debug> ") != written.npos);
    CHECK(written.find("attached to world:1", written.find("jane on other\n")) != written.npos);
    CHECK(told == "tarq-debug: wait hold: no hold can come: world:1 was taken over by jane on other\n");
    CHECK(debug(takeTurns, "wait hold\ntakeover\nquit\n", {"--json"}) == 0);
    CHECK(written.find("tarq-debug> ") == written.npos);
    CHECK(written.find('\r') == written.npos);
}

TEST_CASE_FIXTURE(DebugSessionTest, "what is let go is not held, also when the tool hears late of it") {
    const auto script = [&] {
        host.say(World::hold(7, "1"));
        host.catchUp();
        host.expect(Continue());
        host.catchUp();
        host.say(World::hold(8, "1"));
    };
    CHECK(debug(script, "", {"-e", "continue", "-e", "wait hold", "-e", "wait hold 0"}) == 0);
    const std::size_t first = written.find("game time 7");
    const std::size_t let = written.find("continuing");
    CHECK(first < let);
    CHECK(let < written.find("game time 8"));
    const auto holdBefore = [&] {
        host.say(World::hold(7, "1"));
        host.catchUp();
        host.expect(Continue());
        host.catchUp();
    };
    CHECK(debug(holdBefore, "", {"-e", "continue", "-e", "wait hold 0"}) == 6);
}

TEST_CASE_FIXTURE(DebugSessionTest, "what was held before the takeover is stepped from once") {
    const auto letStep = [&] {
        host.catchUp();
        host.expect(MakeStep());
        host.catchUp();
    };
    const auto script = [&] {
        host.meetTool(true);
        letStep();
        host.seeOff();
    };
    CHECK(run(script, {"debug", "--takeover", "-e", "step", "-e", "step"}) == 2);
    CHECK(told == "tarq-debug: step: nothing is held\n");
    CHECK(written.ends_with("\nstepping\n"));
}

TEST_CASE_FIXTURE(DebugSessionTest, "a failure tells which command it was, and no more of it than is needed") {
    const std::string wide = "\xC3\xA4";
    std::string command;
    for (int count = 0; count < 81; ++count)
        command += wide;
    CHECK(debug(nothing, command) == 2);
    CHECK(told == "tarq-debug: " + command.substr(0, 160) + "...: there is no such command; see \"help\"\n");
    CHECK(debug(nothing, command.substr(0, 160)) == 2);
    CHECK(told == "tarq-debug: " + command.substr(0, 160) + ": there is no such command; see \"help\"\n");
    CHECK(debug(nothing, std::string(1000, '\x80')) == 2);
    CHECK(told.size() < 1400);
    CHECK(ask(nothing, {"get", "agents/walker/ann.size", "--json"}) == 2);
    CHECK(written.starts_with(head("failed") + R"(,"command":"get","code":0,"exitCode":2,)"));
}

TEST_CASE_FIXTURE(DebugSessionTest, "the host has as long for every answer as the command line says") {
    const auto script = [&] {
        host.meet();
        host.send(frameOf(identityReply()));
        host.expect(ConnectModule{"world", 1, false});
        host.seeOff();
    };
    CHECK(run(script, {"tree", "--timeout", "1"}) == 4);
    CHECK(told == "tarq-debug: the host does not answer\n");
}
