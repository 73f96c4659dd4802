#include "tool/client/moduleclient.h"

#include "tests/tool/modulehost.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

class Recorder : public ModuleListener {
public:
    void onAttached() override { events.emplace_back("attached"); }
    void onTakenOver(const ModuleDisconnectForced&) override { events.emplace_back("taken over"); }
    void onShutdown() override { events.emplace_back("shut down"); }
    void onRegistered(ElementID element) override { add("registered ", element); }
    void onRemoved(ElementID element) override { add("removed ", element); }
    void onHold(const BreakpointState& state) override {
        events.push_back("held " + std::to_string(state.entry.gameTime));
    }
    void onBadMessage(const Tarq::Common::String& problem) override {
        events.push_back(std::string("bad ") + problem.c_str());
    }
    void onOtherMessage(uint32 id, uint64) override {
        events.push_back(std::string("other ") + nameOfMessage(id).c_str());
    }

    Texts events;

private:
    void add(const char* what, ElementID element) {
        events.push_back(what + std::string(nameOfKind(element.kind)) + ' ' + std::to_string(element.id));
    }
};

struct ModuleClientTest : LibraryTest {
    void begin(uint32 answerMilliseconds = 30000) {
        SessionOptions options;
        options.identity.computerName = "box";
        options.identity.userName = "john";
        options.reconnects = false;
        options.answerMilliseconds = answerMilliseconds;
        options.address = host.getAddress();
        client = std::make_unique<ModuleClient>(options, recorder);
        client->getSession().start();
        stepTo([this] { return client->getSession().getState() == SESSION_IDENTIFYING; });
        client->getSession().step(-1);
        host.meet();
        host.send(frameOf(identityReply()));
        stepTo([this] { return client->getSession().getState() == SESSION_CONNECTED; });
    }
    template <class IsThere>
    void stepTo(IsThere isThere) {
        while (!isThere())
            REQUIRE(client->getSession().step(1000));
    }
    void stepToEvents(std::size_t numEvents) {
        stepTo([&] { return recorder.events.size() >= numEvents; });
    }
    void attach() {
        begin();
        client->attach(ConnectModule{"world", 1, false}, [](const Answer<ConnectModuleReply>&) {});
        client->getSession().step(1000); // sends
        host.expect(ConnectModule{"world", 1, false});
        host.say(world.connected);
        host.say(world.group);
        host.say(world.type);
        stepTo([this] { return client->getModel().countTypes() == 1; });
        CHECK_FALSE(client->isAttached());
        client->getSession().step(1000);
        host.catchUp();
        stepTo([this] { return client->isAttached(); });
    }

    World world;
    ModuleHost host;
    Recorder recorder;
    std::unique_ptr<ModuleClient> client;
};

} // namespace

TEST_CASE_FIXTURE(ModuleClientTest, "the end of the registrations is known, and what comes later is told") {
    attach();
    host.say(World::instance("ann", 30));
    host.say(World::instance("ann", 30));
    host.say(World::hold(3, "1"));
    host.say(ObjectInstanceUnregistration{World::cModule, 30});
    host.say(ObjectInstanceUnregistration{6, 30});
    host.say(GetVariableReply());
    host.say(ObjectTypeUnregistration{World::cModule, 2});
    host.say(ModuleShutdown{World::cModule});
    host.say(World::hold(4, "1"));
    stepToEvents(10);
    CHECK(recorder.events ==
          Texts{"attached", "registered instance 30", "bad object instance registration: instance 30 is known already",
                "held 3", "removed instance 30", "bad object instance unregistration: module 6 is not connected",
                "other get variable reply", "removed type 2", "shut down",
                "bad breakpoint state: module 5 is not connected"});
    CHECK_FALSE(client->isAttached());
    CHECK_FALSE(client->isHeld());
}

TEST_CASE_FIXTURE(ModuleClientTest, "a message that is cut off anywhere is left out, and the next one counts") {
    attach();
    const std::string messages[] = {
        frameOfMessage(world.group),
        frameOfMessage(world.type),
        frameOfMessage(World::instance("ann", 30)),
        frameOfMessage(World::hold(3, "1")),
        frameOfMessage(ObjectTypeUnregistration{World::cModule, 2}),
        frameOfMessage(ObjectInstanceUnregistration{World::cModule, 30}),
        frameOfMessage(ModuleDisconnectForced{World::cModule, "box", "john"}),
        frameOfMessage(ModuleShutdown{World::cModule}),
    };
    for (const std::string& message : messages) {
        for (std::size_t length = 0; length + 4 < message.size(); ++length) {
            recorder.events.clear();
            host.send(frameOf(message.substr(4, length)));
            stepToEvents(1);
            CHECK(recorder.events.size() == 1);
            CHECK(recorder.events[0].starts_with("bad "));
        }
    }
    CHECK(client->isAttached());
    recorder.events.clear();
    host.send(messages[2]);
    stepToEvents(1);
    CHECK(recorder.events == Texts{"registered instance 30"});
}

TEST_CASE_FIXTURE(ModuleClientTest, "who asks hears once what has become of it") {
    begin(1000);
    Texts answers;
    const auto ask = [&](uint32 variableID) {
        client->ask(GetVariable{World::cModule, 30, variableID}, [&](const Answer<GetVariableReply>& answer) {
            answers.push_back(answer.reply ? "code " + std::to_string(answer.reply->code) : answer.problem.c_str());
        });
    };
    const auto stepToAnswers = [&](std::size_t count) { stepTo([&] { return answers.size() >= count; }); };
    for (const uint32 id : {1u, 2u, 3u}) {
        ask(id);
        client->getSession().step(1000); // sends
        host.expect(GetVariable{World::cModule, 30, id});
    }
    const std::string reply = frameOfMessage(GetVariableReply{World::cModule, 30, 3, 4, "no", noBytes()});
    host.send(reply);
    const std::string other = frameOfMessage(GetVariableReply{World::cModule, 30, 2, 4, "no", noBytes()});
    host.send(frameOf(other.substr(4, other.size() - 5)));
    stepToAnswers(3);
    CHECK(answers == Texts{"code 4", "get variable reply: the field \"text\" is cut off", "the host does not answer"});
    // It comes nevertheless, and is nobody's.
    host.say(GetVariableReply{World::cModule, 30, 1, 4, "no", noBytes()});
    stepToEvents(1);
    CHECK(recorder.events.back() == "other get variable reply");
    ask(1);
    host.hangUp();
    while (client->getSession().step(1000)) {
    }
    CHECK(answers.size() == 4);
    ask(1);
    CHECK(answers.back() == "there is no connection");
}
