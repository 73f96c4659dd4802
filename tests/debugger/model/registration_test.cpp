#include "tests/debugger/model/modeltest.h"

#include <map>

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(ModelTest, "a tool that connects hears of all that is attached, byte for byte") {
    CHECK(mModule->registerBreakpointType("step"));
    CHECK(mModule->registerBreakpointType("end"));
    ObjectGroup* const doors = mModule->createObjectGroup("doors");
    ObjectGroup* const agents = mModule->createObjectGroup("agents");
    ObjectGroup* const crowd = agents->registerSubObjectGroup("crowd");
    ObjectType* const walker = agents->createObjectType("walker");
    walker->setUniqueID(0x11, 0x22, 0x33, 0x44);
    CHECK(walker->registerVariableType(STREAM_TYPE_FLOAT32, "speed", true));
    CHECK(walker->registerVariableType(STREAM_TYPE_ARRAY_BSTRING, "items", false));
    CHECK(walker->registerBreakpointInstance("stepped", "step", nullptr));
    CHECK(walker->registerBreakpointInstance("gone", "end", nullptr));
    walker->attach();
    agents->createObjectType("unattached");
    ObjectType* const bird = makeType(crowd, "bird", {});
    ObjectType* const door = makeType(doors, "door", {"width"});
    float speed = 0;
    Vector<String> items(allocator());
    for (const char* const name : {"ann", "bob", "ann"}) {
        ObjectInstance* const instance = walker->createObjectInstance(name);
        CHECK(instance->registerVariable("speed", &speed));
        CHECK(instance->registerVariable("items", &items));
        if (instance->getID() != 1)
            instance->attach();
    }
    makeInstance(bird, "tit", {});
    makeInstance(door, "gate", {"width"});
    mModule->attach();

    const char* const expected[] = {
        // The answer, with the breakpoint types.
        "07 01000004  0b 00000005 776f726c64  07 00000003  05 00  0b 00000000  07 00000000  07 00000002"
        "             0b 00000004 73746570  07 00000000  0b 00000003 656e64  07 00000001",
        // Groups come by name: agents, with its types and their instances, and then with its groups.
        "07 01000007  07 00000000  0b 00000006 6167656e7473  07 00000001  07 ffffffff",
        "07 01000008  07 00000000  07 00000001  0b 00000006 77616c6b6572  07 00000000"
        "             07 00000011  07 00000022  07 00000033  07 00000044  07 00000002"
        "             07 00000001  0b 00000004 676f6e65  07 00000001"
        "             07 00000000  0b 00000007 73746570706564  07 00000000  07 00000002"
        "             05 09  0b 00000005 7370656564  07 00000000  00 01"
        "             05 8b  0b 00000005 6974656d73  07 00000001  00 00",
        "07 0100000a  07 00000000  07 00000000  0b 00000003 616e6e  07 00000000",
        "07 0100000a  07 00000000  07 00000000  0b 00000003 616e6e  07 00000002",
        "07 01000007  07 00000000  0b 00000005 63726f7764  07 00000002  07 00000001",
        "07 01000008  07 00000000  07 00000002  0b 00000004 62697264  07 00000002"
        "             07 00000000  07 00000000  07 00000000  07 00000000  07 00000000  07 00000000",
        "07 0100000a  07 00000000  07 00000002  0b 00000003 746974  07 00000003",
        "07 01000007  07 00000000  0b 00000005 646f6f7273  07 00000000  07 ffffffff",
        "07 01000008  07 00000000  07 00000000  0b 00000004 646f6f72  07 00000003"
        "             07 00000000  07 00000000  07 00000000  07 00000000  07 00000000  07 00000001"
        "             05 07  0b 00000005 7769647468  07 00000002  00 01",
        "07 0100000a  07 00000000  07 00000003  0b 00000004 67617465  07 00000004",
    };
    std::vector<std::string> messages;
    for (const char* const hex : expected)
        messages.push_back(bytesOf(hex));
    // Whoever comes after it, too.
    for (int again = 0; again < 2; ++again) {
        const uint32 tool = connectTool();
        connectModule(tool);
        CHECK(takeLines(tool) == linesOf(messages));
        mNetwork.lose(tool);
        CHECK_FALSE(mModule->isClientConnected());
        CHECK(takeLines(tool).empty());
    }
}

TEST_CASE_FIXTURE(ModelTest, "a connected tool hears of each element when it is there, and when it goes") {
    CHECK(mModule->registerBreakpointType("step"));
    mModule->attach();
    const uint32 tool = connectToModule();
    const auto heard = [&](const std::string& message) { CHECK(takeLines(tool) == linesOf({message})); };
    const auto heardNothing = [&] { CHECK(takeLines(tool).empty()); };

    ObjectGroup* const group = mModule->createObjectGroup("agents");
    heard(wire(0x07, 0u, "agents", 0u, cNone));
    ObjectGroup* const sub = group->registerSubObjectGroup("crowd");
    heard(wire(0x07, 0u, "crowd", 1u, 0u));
    ObjectType* const type = sub->createObjectType("walker");
    CHECK(type->registerVariableType(STREAM_TYPE_UINT32, "age", false));
    CHECK(type->registerBreakpointInstance("stepped", "step", nullptr));
    heardNothing();
    type->attach();
    heard(wire(0x08, 0u, 1u, "walker", 0u, 0u, 0u, 0u, 0u, 1u, 0u, "stepped", 0u, 1u, uint8{7}, "age", 0u, false));
    ObjectInstance* const ann = type->createObjectInstance("ann");
    CHECK(ann->registerVariable("age", &mNumber));
    heardNothing();
    ann->attach();
    heard(wire(0x0A, 0u, 0u, "ann", 0u));
    CHECK(type->destroyObjectInstance(ann->getID()));
    heard(wire(0x0B, 0u, 0u));

    // What it has never heard of goes without a word, and so do the instances of a type, with it.
    CHECK(type->destroyObjectInstance(type->createObjectInstance("bob")->getID()));
    makeInstance(type, "cid", {"age"});
    static_cast<void>(takeLines(tool));
    CHECK(group->createObjectType("unattached"));
    CHECK(group->destroyObjectType(1));
    heardNothing();
    CHECK(sub->destroyObjectType(0));
    heard(wire(0x09, 0u, 0u));
    CHECK(server().destroyModule(mModule));
    heard(wire(0x22, 0u));
    CHECK_FALSE(mModule);
}

TEST_CASE_FIXTURE(ModelTest, "what a tool cannot be told is reported, and done all the same") {
    mModule->attach();
    const uint32 tool = connectToModule();
    mNetwork.mCanSend = false;
    const std::string lateBound = "Couldn't send (late)bound message to client";
    ObjectGroup* group = nullptr;
    CHECK(assertedBy([&] { group = mModule->createObjectGroup("agents"); }) == lateBound);
    REQUIRE(group);
    CHECK(assertedBy([&] { CHECK(group->registerSubObjectGroup("crowd")); }) == lateBound);
    ObjectType* const type = group->createObjectType("walker");
    REQUIRE(type);
    CHECK(assertedBy([&] { type->attach(); }) == lateBound);
    ObjectInstance* const instance = type->createObjectInstance("ann");
    REQUIRE(instance);
    CHECK(assertedBy([&] { instance->attach(); }) == lateBound);
    CHECK(instance->isAttached());
    CHECK(assertedBy([&] { CHECK(type->destroyObjectInstance(0)); }) ==
          "Couldn't send reportUnregistrationObjectInstance message to client");
    CHECK(assertedBy([&] { CHECK(group->destroyObjectType(0)); }) == lateBound);
    ObjectType* found = nullptr;
    CHECK_FALSE(group->getObjectType(found, "walker"));
    Module* const gone = mModule;
    CHECK(assertedBy([&] { CHECK(server().destroyModule(mModule)); }) ==
          "Couldn't send module shutdown message to client");
    CHECK_FALSE(server().getModule(mModule, "world", 3));
    CHECK(gone);
    CHECK(takeLines(tool).empty());
}

TEST_CASE_FIXTURE(ModelTest, "a message that there is no memory for is reported, and no exception comes of it") {
    mModule->attach();
    connectToModule();
    ObjectType* const type = mModule->createObjectGroup("agents")->createObjectType("walker");
    const AssertionRecorder assertions;
    getMemory().failAfter(0);
    type->attach();
    getMemory().failNever();
    CHECK(assertions.getSeen().back().text == "\nError Message: Couldn't send (late)bound message to client");
    CHECK(type->isAttached());
}

TEST_CASE_FIXTURE(ModelTest, "a module has one client at a time") {
    makeInstance(makeType(mModule->createObjectGroup("agents"), "walker", {}), "ann", {});
    CHECK(assertedBy([&] { CHECK_FALSE(mModule->send(Debugger::MessageID::CONTINUE, [](MessageBuilder&) {})); }) ==
          "Tried to send message but no Client is connected (use isClientConnected() to check before sending)");
    mModule->attach();
    const uint32 tool = connectToModule();
    Debugger::ClientInfo* info = nullptr;
    REQUIRE(server().getClientInfo(info, tool));
    checkRefusals({{"the same", [&] { return mModule->connectClient(info); },
                    "Module connected to new Client without disconnecting from old Client"}});
    CHECK(takeLines(tool).empty());
    mModule->disconnectClient();
    CHECK_FALSE(mModule->isClientConnected());
    CHECK(takeLines(tool).empty());
    CHECK(mModule->connectClient(info));
    CHECK(takeMessages(tool).size() == 3);
}

TEST_CASE_FIXTURE(ModelTest, "a tool that leaves takes its breakpoints and break requests along") {
    CHECK(mModule->registerBreakpointType("step"));
    ObjectType* const type = mModule->createObjectGroup("agents")->createObjectType("walker");
    BreakpointInstance* const breakpoint = type->registerBreakpointInstance("stepped", "step", nullptr);
    type->attach();
    ObjectInstance* const ann = makeInstance(type, "ann", {});
    mModule->attach();
    const uint32 tool = connectToModule();
    breakpoint->setActive();
    ann->setBreakflag(true);
    mNetwork.lose(tool);
    CHECK_FALSE(breakpoint->isActive());
    CHECK_FALSE(ann->isBreakflagSet());
    breakpoint->enterBreakpoint(ann);
    CHECK(countEntries(0) == 1);
}
