#include "tests/debugger/handler/modelworld.h"

using namespace Tarq::Test;

namespace {

const std::string cModule = fieldsOf("world", uint32{3});
const std::string cAccepted = fieldsOf(uint8{0}, "");

/// What comes with the answer: the id and the breakpoint types.
std::string dataOf(uint32 moduleID) {
    return fieldsOf(moduleID, uint32{2}, "step", uint32{0}, "turn", uint32{1});
}

struct ModuleRequestTest : RequestTest {
    bool isConnected(const ModelWorld& world, uint32 tool) {
        const Server::DataLock inside(Server::getDataMutex());
        const Debugger::ClientInfo* const client = world.module->getClient();
        return client && client->mConnectionID == tool;
    }
    /// The types of the messages that have come, without their common part.
    std::string takeTypes(uint32 tool) {
        std::string types;
        for (std::string message = mNetwork.takeReply(tool); !message.empty(); message = mNetwork.takeReply(tool))
            types += hexOf(message.substr(4, 1)) + ' ';
        return types;
    }
};

} // namespace

TEST_CASE_FIXTURE(ModuleRequestTest, "a tool connects to a module, and hears of all that is attached") {
    const uint32 other = connectTool("lap", "bob");
    const ModelWorld unattached("mars", false);
    const std::string who = "Client (desk, ada) tried to connect to ";
    const std::string second = "module: world, version: 3) for second time (is already connected)";
    const std::string name = fieldsOf("world", uint32{3});
    const struct {
        const char* text;
        uint32 tool;
        std::string module;
        bool isForced;
        uint8 code;
        std::string answer;
    } cases[] = {
        {"no such name", mTool, fieldsOf("word", uint32{3}), true, 1, who + "unknown module: word, version: 3"},
        {"no such version", mTool, fieldsOf("world", uint32{4}), false, 1, who + "unknown module: world, version: 4"},
        {"not attached", mTool, fieldsOf("mars", uint32{3}), false, 1,
         who + "known module ( mars, version: 3 ) that isn't attached"},
        {"again", mTool, name, false, 3, who + second},
        {"again by force", mTool, name, true, 3, who + second},
        {"another's", other, name, false, 2, "Client (lap, bob) tried to connect to " + second},
    };
    for (const auto& c : cases) {
        CAPTURE(c.text);
        mNetwork.send(c.tool, typeOf(MessageID::CONNECT_MODULE) + c.module + fieldsOf(c.isForced));
        CHECK(hexOf(mNetwork.takeReply(c.tool)) ==
              hexOf(fieldsOf(uint32{0x01000004}) + c.module + fieldsOf(c.code, c.answer.c_str())));
        CHECK(mNetwork.takeReply(c.tool).empty());
    }
    CHECK(isConnected(mWorld, mTool));
    mNetwork.send(other, typeOf(MessageID::CONNECT_MODULE) + fieldsOf("moon", uint32{3}, false));
    CHECK(hexOf(mNetwork.takeReply(other)) ==
          hexOf(fieldsOf(uint32{0x01000004}, "moon", uint32{3}) + cAccepted + dataOf(1)));
    CHECK(takeTypes(other) == "07 08 0a 0a 07 08 0a ");
    CHECK(isConnected(mMoon, other));
}

TEST_CASE_FIXTURE(ModuleRequestTest, "a module is taken over by force, and a thread that is held stays held") {
    const uint32 other = connectTool("lap", "bob");
    mWorld.stepped->setActive();
    HostThread host([&] { mWorld.stepped->enterBreakpoint(mWorld.ann); });
    std::string state;
    REQUIRE(comesTrue([&] { return !(state = mNetwork.takeReply(mTool)).empty(); }));
    mNetwork.send(other, typeOf(MessageID::CONNECT_MODULE) + cModule + fieldsOf(true));
    CHECK(take() == hexOf(fieldsOf(uint32{0x01000002}, uint32{0}, "lap", "bob")));
    CHECK(hexOf(mNetwork.takeReply(other)) == hexOf(fieldsOf(uint32{0x01000004}) + cModule + cAccepted + dataOf(0)));
    CHECK(takeTypes(other) == "07 08 0a 0a 07 08 0a ");
    CHECK(isConnected(mWorld, other));

    send(MessageID::CONTINUE, "");
    CHECK(server().isBreakpointHolding());
    CHECK_FALSE(host.hasReturned());
    mNetwork.send(other, typeOf(MessageID::CONTINUE));
    CHECK(host.waitFor());
    CHECK_FALSE(mWorld.stepped->isActive());
}

TEST_CASE_FIXTURE(ModuleRequestTest, "a tool disconnects from a module, and a thread that is held goes on") {
    const std::string who = "Client (desk, ada) tried to disconnect from module: ";
    check(MessageID::DISCONNECT_MODULE,
          {{"no module", fieldsOf(uint32{2}), 1, who + "2 that isn't known"},
           {"not connected", fieldsOf(uint32{1}), 2, who + "1 that isn't connected to this Client"}});
    mWorld.stepped->setActive();
    HostThread host([&] { mWorld.stepped->enterBreakpoint(mWorld.ann); });
    std::string state;
    REQUIRE(comesTrue([&] { return !(state = mNetwork.takeReply(mTool)).empty(); }));
    check(MessageID::DISCONNECT_MODULE,
          {{"connected", fieldsOf(uint32{0}), 0, ""},
           {"again", fieldsOf(uint32{0}), 2, who + "0 that isn't connected to this Client"}});
    CHECK(host.waitFor());
    CHECK_FALSE(mWorld.module->isClientConnected());
    CHECK_FALSE(mWorld.stepped->isActive());
}

TEST_CASE_FIXTURE(ModuleRequestTest, "a tool reads the history of an object instance") {
    check(MessageID::SET_WATCHES, {{"age", fieldsOf(uint32{0}, uint32{0}, uint32{2}, true), 0, ""}});
    server().setGameTime({7});
    mWorld.stepped->enterBreakpoint(mWorld.ann); // too old for a history of two
    mWorld.speed = 2;
    mWorld.stepped->enterBreakpoint(mWorld.ann);
    mWorld.age = 43;
    server().setGameTime({8});
    mWorld.turned->enterBreakpoint(mWorld.ann);
    const std::string second = nestedOf(fieldsOf(2.0F)) + nestedOf(fieldsOf(uint32{42}));
    const std::string third = nestedOf(fieldsOf(uint32{43}));
    const struct {
        const char* name;
        uint32 moduleID;
        uint32 instanceID;
        uint8 code;
        std::string text;
        std::vector<std::string> pieces; ///< between them is a system time, as in the answer's head
    } cases[] = {
        {"two passes",
         0,
         0,
         0,
         "",
         {fieldsOf(uint32{2}, uint32{7}),
          fieldsOf(uint32{0}, uint32{2}, uint32{0}, uint32{2}) + second + fieldsOf(uint32{8}),
          fieldsOf(uint32{1}, uint32{1}, uint32{2}) + third}},
        {"none", 0, 1, 0, "", {fieldsOf(uint32{0})}},
        {"no module", 2, 0, 1, "Tried to get history for unknown module (moduleID: 2)", {""}},
        {"not connected",
         1,
         0,
         2,
         "Tried to get history for module (moduleName: moon, moduleID: 1) that isn't connected to this Client",
         {""}},
        {"no instance",
         0,
         9,
         3,
         "Tried to get history for ObjectInstance (id: 9) within module (moduleName: world, moduleID: 0) that isn't "
         "connected to this Client",
         {""}},
    };
    for (const auto& c : cases) {
        CAPTURE(c.name);
        send(MessageID::GET_HISTORY, fieldsOf(c.moduleID, c.instanceID));
        const std::string answer = mNetwork.takeReply(mTool);
        std::string expected =
            fieldsOf(uint32{0x0100000D}, c.moduleID, c.instanceID, c.code, c.text.c_str(), uint32{8});
        for (const std::string& piece : c.pieces) {
            REQUIRE(answer.size() >= expected.size() + 5);
            CHECK(answer[expected.size()] == STREAM_TYPE_UINT32);
            expected += answer.substr(expected.size(), 5) + piece;
        }
        CHECK(hexOf(answer) == hexOf(expected));
    }
}
