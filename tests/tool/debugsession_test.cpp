#include "tests/tool/debugsessiontest.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

TEST_CASE_FIXTURE(DebugSessionTest, "one question is asked and answered") {
    CHECK(ask(nothing, {"tree"}) == 0);
    CHECK(written == "group agents\n"
                     "  type walker\n"
                     "    variable speed: float32, writable\n"
                     "    variable name: bstring\n"
                     "    breakpoint step: move\n"
                     "    instance ann\n"
                     "    instance bob#31\n"
                     "    instance bob#32\n");
    CHECK(told == "");
    CHECK(ask(nothing, {"tree", "agents/walker/bob#32", "--json"}) == 0);
    CHECK(written == head("element") + R"(,"kind":"instance","path":"agents/walker/bob#32","id":32})" + "\n");

    CHECK(ask([this] { host.answer(getSpeed, speed); }, {"get", "agents/walker/ann.speed"}) == 0);
    CHECK(written == "agents/walker/ann.speed = 0.1\n");
    const SetVariable set{World::cModule, World::cAnn, World::cSpeed, itemOf(STREAM_TYPE_FLOAT32, "-3.5")};
    const SetVariable::Reply setReply{set, 0, ""};
    CHECK(ask([&] { host.answer(set, setReply); }, {"set", "agents/walker/ann.speed", "-3.5", "--json"}) == 0);
    CHECK(written == head("done") + R"(,"command":"set","path":"agents/walker/ann.speed","value":-3.5})" + "\n");
    const SetWatch watch{World::cModule, World::cAnn, World::cName, true};
    const SetWatch::Reply refusal{watch, 4, "gone\x1b"};
    CHECK(ask([&] { host.answer(watch, refusal); }, {"watch", "agents/walker/ann.name", "on"}) == 1);
    CHECK(written == "");
    CHECK(told == "tarq-debug: refused: gone\\x1B\n");
    for (const bool isOn : {true, false}) {
        const SetWatch again{World::cModule, World::cAnn, World::cName, isOn};
        const SetWatch::Reply isSo{again, 5, "same"};
        CHECK(ask([&] { host.answer(again, isSo); }, {"watch", "agents/walker/ann.name", isOn ? "on" : "off"}) == 0);
        CHECK(written ==
              std::string("agents/walker/ann.name ") + (isOn ? "is watched already\n" : "was not watched\n"));
    }
}

TEST_CASE_FIXTURE(DebugSessionTest, "a history is a table, or one entry a line") {
    const GetHistory request{World::cModule, World::cAnn};
    GetHistoryReply reply;
    reply.moduleID = World::cModule;
    reply.instanceID = World::cAnn;
    reply.gameTime = 12;
    reply.systemTime = 120;
    reply.entries = {World::entry(9, "1"), World::entry(10, "-0.25")};
    reply.entries[1].values.resize(1);
    const auto script = [&] { host.answer(request, reply); };
    CHECK(ask(script, {"history", "agents/walker/ann"}) == 0);
    CHECK(written == "agents/walker/ann, now game time 12, system time 120 ms\n"
                     "game time  system time  breakpoint  speed  name\n"
                     "9          90           step        1      \"Ann\"\n"
                     "10         100          step        -0.25  -\n");
    CHECK(ask(script, {"history", "agents/walker/ann", "--json"}) == 0);
    const std::string entry = head("historyEntry") + R"(,"instance":"agents/walker/ann","breakpoint":)" +
                              R"("agents/walker@step","gameTime":)";
    CHECK(written == head("history") +
                         R"(,"instance":"agents/walker/ann","gameTime":12,"systemTime":120,"entries":2})" + "\n" +
                         entry + R"(9,"systemTime":90,"values":{"speed":1.0,"name":"Ann"}})" + "\n" + entry +
                         R"(10,"systemTime":100,"values":{"speed":-0.25}})" + "\n");
}

TEST_CASE_FIXTURE(DebugSessionTest, "a session holds, looks, steps and goes on") {
    const SetBreakpoint set{World::cModule, World::cStep, true};
    const SetBreakpoint::Reply setReply{set, 0, ""};
    const auto script = [&] {
        host.answer(set, setReply);
        host.say(World::hold(7, "2.5"));
        host.answer(getSpeed, speed);
        host.catchUp();
        host.expect(MakeStep{true, World::cMove});
        host.say(World::hold(8, "3"));
        host.catchUp();
        host.say(World::instance("cleo", 33));
        host.say(ObjectInstanceUnregistration{World::cModule, 31});
        host.catchUp();
        host.expect(Continue());
        host.catchUp();
        host.expect(BreakClient());
        host.catchUp();
        host.catchUp();
    };
    const std::string commands = "break breakpoint agents/walker@step on\nwait hold\n# a remark\n\n"
                                 "get agents/walker/ann.speed\nstep --instance --type move\nwait hold 100\n"
                                 "wait registration\n  wait removal  \ncontinue\nbreak client\nbreak client";
    CHECK(debug(script, commands) == 0);
    CHECK(told == "");
    CHECK(written == "agents/walker@step is on\n"
                     "held at agents/walker@step by agents/walker/ann, game time 7, system time 70 ms\n"
                     "  speed = 2.5\n"
                     "  name = \"Ann\"\n"
                     "agents/walker/ann.speed = 0.1\n"
                     "stepping\n"
                     "held at agents/walker@step by agents/walker/ann, game time 8, system time 80 ms\n"
                     "  speed = 3\n"
                     "  name = \"Ann\"\n"
                     "registered instance agents/walker/cleo\n"
                     "removed instance agents/walker/bob#31\n"
                     "continuing\n"
                     "every breakpoint holds, until \"continue\"\n"
                     "every breakpoint holds, until \"continue\"\n");
    const auto holdOnly = [&] { host.say(World::hold(7, "2.5")); };
    CHECK(debug(holdOnly, "", {"-e", "wait hold", "-e", "quit", "--json"}) == 0);
    CHECK(written.find("\n" + head("hold") + R"(,"instance":"agents/walker/ann","breakpoint":"agents/walker@step",)" +
                       R"("gameTime":7,"systemTime":70,"values":{"speed":2.5,"name":"Ann"}})" + "\n") != written.npos);
}

TEST_CASE_FIXTURE(DebugSessionTest, "a condition is compiled, printed back, and taken away") {
    const SetCondition removal{World::cModule, World::cStep};
    const SetCondition::Reply reply{removal, 0, ""};
    std::string sent;
    const auto script = [&] {
        sent = receiveText(*host.connection(), 4);
        const auto length = static_cast<unsigned char>(sent[2]) * 256 + static_cast<unsigned char>(sent[3]);
        sent += receiveText(*host.connection(), static_cast<std::size_t>(length));
        host.say(reply);
        host.answer(removal, reply);
    };
    const std::string commands = "condition agents/walker@step speed>3&&name==\"x\"\ncondition agents/walker@step\n";
    CHECK(debug(script, commands, {"--echo"}) == 0);
    CHECK(sent.find("<") != sent.npos);
    CHECK(written == "tarq-debug> condition agents/walker@step speed>3&&name==\"x\"\n"
                     "agents/walker@step has the condition speed > 3.0 && name == \"x\"\n"
                     "tarq-debug> condition agents/walker@step\n"
                     "agents/walker@step has no condition\n");
    CHECK(debug(nothing, "condition agents/walker@step speed > name") == 2);
    CHECK(told.starts_with("tarq-debug: condition agents/walker@step speed > name: the condition is wrong: "));
    CHECK(told.find("\nspeed > name\n") != told.npos);
    CHECK(told.ends_with("^\n"));
}

TEST_CASE_FIXTURE(DebugSessionTest, "a script ends with the first command that fails, unless it is to go on") {
    const SetBreakpoint set{World::cModule, World::cStep, true};
    const SetBreakpoint::Reply refusal{set, 4, "is on"};
    const std::string commands = "break breakpoint agents/walker@step on\nget agents/walker/ann.speed\n";
    CHECK(debug([&] { host.answer(set, refusal); }, commands) == 1);
    CHECK(written == "");
    CHECK(told == "tarq-debug: break breakpoint agents/walker@step on: refused: is on\n");
    const auto both = [&] {
        host.answer(set, refusal);
        host.answer(getSpeed, speed);
    };
    CHECK(debug(both, commands, {"--keep-going"}) == 1);
    CHECK(written == "agents/walker/ann.speed = 0.1\n");

    struct {
        const char* command;
        int exitCode;
        const char* problem;
    } const cases[] = {
        {"fly", 2, "there is no such command; see \"help\""},
        {"get", 2, "the path is missing"},
        {"get agents/walker/ann.size", 2, "there is no variable size in agents/walker/ann; there is: name, speed"},
        {"get agents/walker/ann.speed now", 2, "there are too many words"},
        {"set agents/walker/ann.speed fast", 2, "this is no float32: \"fast\" is no number (column 1)"},
        {"set agents/walker/ann.speed", 2, "the value is missing"},
        {"set agents/walker/ann.name 3", 2, "agents/walker/ann.name cannot be written"},
        {"watch agents/walker/ann.speed", 2, "on or off is missing"},
        {"break module", 2, "instance, breakpoint or client is missing"},
        {"break instance agents/walker on", 2, "agents/walker is a type, and not an instance"},
        {"break instance agents/walker/bob on", 2,
         "agents/walker/bob can be agents/walker/bob#31 or agents/walker/bob#32"},
        {"step", 2, "nothing is held"},
        {"step --type fly", 2, "there is no breakpoint type fly; there is: move"},
        {"takeover", 2, "this tool has the module"},
        {"wait hold 0", 6, "no hold has come in time"},
        {"wait rain", 2,
         "there are no events \"rain\"; there are hold, registration, removal, takeover, shutdown, answer, read"},
        {"wait hold soon", 2, "the time has to be from 0 to 1000000 seconds"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.command);
        CHECK(debug(nothing, given.command) == given.exitCode);
        CHECK(told == std::string("tarq-debug: ") + given.command + ": " + given.problem + "\n");
        CHECK(debug(nothing, "", {"-e", given.command, "--json"}) == given.exitCode);
        const std::string command(given.command);
        CHECK(written.find("\n" + head("failed") + R"(,"command":")" + command.substr(0, command.find(' ')) + '"') !=
              written.npos);
    }
}

TEST_CASE_FIXTURE(DebugSessionTest, "a module that another tool has is refused, taken, lost and taken again") {
    ConnectModuleReply refusal;
    refusal.moduleName = "world";
    refusal.moduleVersion = 1;
    refusal.code = 2;
    refusal.text = "it is john's";
    const auto refuse = [&] {
        host.meet();
        host.send(frameOf(identityReply()));
        host.answer(ConnectModule{"world", 1, false}, refusal);
    };
    CHECK(run(refuse, {"tree"}) == 1);
    CHECK(told == "tarq-debug: refused: it is john's\n");
    const auto takeTurns = [&] {
        host.meetTool(true);
        host.say(ModuleDisconnectForced{World::cModule, "other", "jane"});
        host.giveModule(true);
        host.say(ModuleShutdown{World::cModule});
    };
    const Texts commands = {"debug", "--takeover",    "-e", "wait takeover", "-e", "takeover",
                            "-e",    "wait shutdown", "-e", "tree"};
    CHECK(run(takeTurns, commands) == 4);
    CHECK(written.find("world:1 was taken over by jane on other\nattached to world:1") != written.npos);
    CHECK(written.ends_with("world:1 was shut down\n"));
    CHECK(told == "tarq-debug: tree: the module world:1 is not connected; \"takeover\" takes it\n");
}

TEST_CASE_FIXTURE(DebugSessionTest, "a host that goes ends a session, whatever it waits for") {
    const auto goAway = [this] {
        host.meetTool();
        host.hangUp();
    };
    const std::string lost = name + ": connection lost: the host has closed the connection\n";
    CHECK(run(goAway, {"debug", "-e", "wait hold"}) == 4);
    CHECK(told == "tarq-debug: wait hold: " + lost);
    CHECK(run(goAway, {"get", "agents/walker/ann.speed"}) == 4);
    CHECK(run(goAway, {"events"}) == 4);
    CHECK(told == "tarq-debug: " + lost);
}
