#include "tests/debugger/handler/modelworld.h"

using namespace Tarq::Test;

namespace {

std::string path(uint32 moduleID, uint32 instanceID, uint32 variableID) {
    return fieldsOf(moduleID, instanceID, variableID);
}

const std::string cMismatch = "The replied message doesn't contain the reply variable\n";

} // namespace

TEST_CASE_FIXTURE(RequestTest, "a tool reads variables") {
    ObjectInstance* const unattached = mWorld.makeWalker("unattached");
    REQUIRE(unattached->getID() == 3);
    CHECK(mWorld.ben->unregisterVariable(2));
    const std::string who = "Client (desk, ada) tried to getVariableData from ";
    const std::string world = who + "module (id: 0, version: 3) ";
    check(
        MessageID::GET_VARIABLE,
        {{"a number", path(0, 0, 0), 0, "", "", nestedOf(fieldsOf(1.5F))},
         {"a text", path(0, 0, 1), 0, "", "", nestedOf(fieldsOf("ann"))},
         {"one that is read-only", path(0, 0, 2), 0, "", "", nestedOf(fieldsOf(uint32{42}))},
         {"a vector", path(0, 0, 3), 0, "", "", nestedOf(fieldsOf(Math::Vec2<float>{1, 2}))},
         {"a container", path(0, 0, 4), 0, "", "", nestedOf(bytesOf("86 00000002 0001 0002"))},
         {"another type", path(0, 2, 5), 0, "", "", nestedOf(fieldsOf(true))},
         {"no module", path(2, 0, 0), 1, who + "unknown module: 2"},
         {"not connected", path(1, 0, 0), 2, who + "module (id: 1, version: 3) that he isn't connected to"},
         {"no instance", path(0, 9, 0), 3, world + "that doesn't know the bjectInstance: 9"},
         {"no id of an instance", path(0, 0xFFFFFFFF, 0), 3, world + "that doesn't know the bjectInstance: 4294967295"},
         {"not attached", path(0, 3, 0), 3, world + "that doesn't know the bjectInstance: 3"},
         {"no variable", path(0, 0, 9), 4, world + "within ObjectInstance: 0 that doesn't know the Variable: 9"},
         {"of another type", path(0, 0, 5), 4, world + "within ObjectInstance: 0 that doesn't know the Variable: 5"},
         {"unregistered", path(0, 1, 2), 4, world + "within ObjectInstance: 1 that doesn't know the Variable: 2"}});
}

TEST_CASE_FIXTURE(RequestTest, "a big value comes whole") {
    mWorld.path.resize(100000, 7);
    send(MessageID::GET_VARIABLE, path(0, 0, 4));
    CHECK(mNetwork.takeReply(mTool) ==
          fieldsOf(uint32{0x01000011}) + path(0, 0, 4) + fieldsOf(uint8{0}, "") + nestedOf(fieldsOf(mWorld.path)));
}

TEST_CASE_FIXTURE(RequestTest, "a tool changes variables") {
    CHECK(mWorld.ben->unregisterVariable(0));
    const std::string value = nestedOf(fieldsOf(2.5F));
    const std::string who = "Client (desk, ada) tried to setVariableData from ";
    const std::string world = who + "module (id: 0, version: 3) ";
    const std::string unfit = world + "within ObjectInstance: 0 with data for the Variable: ";
    check(
        MessageID::SET_VARIABLE,
        {{"no module", path(2, 0, 0), 1, who + "unknown module: 2", value},
         {"not connected", path(1, 0, 0), 2, who + "module (id: 1, version: 3) that he isn't connected to", value},
         {"no instance", path(0, 9, 0), 3, world + "that doesn't know the ObjectInstance: 9", value},
         {"no variable", path(0, 0, 9), 4, world + "within ObjectInstance: 0 that doesn't know the Variable: 9", value},
         {"unregistered", path(0, 1, 0), 4, world + "within ObjectInstance: 1 that doesn't know the Variable: 0",
          value},
         {"read-only", path(0, 0, 2), 5, unfit + "2 that doesn't match the variable", nestedOf(fieldsOf(uint32{43})),
          "", "Tried to write variable (name: age) that has no write access\n"}});
    const struct {
        const char* name;
        std::string data;
    } unfits[] = {{"of another type", nestedOf(fieldsOf(uint32{2}))},
                  {"empty", nestedOf("")},
                  {"not nested", fieldsOf(2.5F)},
                  {"cut off", value.substr(0, value.size() - 1)},
                  {"cut off inside", nestedOf(bytesOf("09 4020"))},
                  {"longer than it is", bytesOf("85 FFFFFFFF 09 40200000")}};
    for (const auto& c : unfits) {
        CAPTURE(c.name);
        const AssertionRecorder assertions;
        send(MessageID::SET_VARIABLE, path(0, 0, 0) + c.data);
        CHECK(take() == hexOf(fieldsOf(uint32{0x01000013}) + path(0, 0, 0) +
                              fieldsOf(uint8{5}, (unfit + "0 that doesn't match the variable").c_str())));
        CHECK(errorsOf(assertions).ends_with(cMismatch));
    }
    CHECK(mWorld.speed == 1.5F);
    CHECK(mWorld.age == 42);
    check(MessageID::SET_VARIABLE, {{"a number", path(0, 0, 0), 0, "", value},
                                    {"a text", path(0, 0, 1), 0, "", nestedOf(fieldsOf("eve"))},
                                    {"a container", path(0, 0, 4), 0, "", nestedOf(bytesOf("86 00000001 0009"))},
                                    {"another type", path(0, 2, 5), 0, "", nestedOf(fieldsOf(false))}});
    CHECK(mWorld.speed == 2.5F);
    CHECK(mWorld.name == "eve");
    CHECK((mWorld.path.size() == 1 && mWorld.path[0] == 9));
    CHECK_FALSE(mWorld.isOpen);
}

TEST_CASE_FIXTURE(RequestTest, "a value that is missing is reported, and not answered") {
    const ExpectedAssertion expected(
        "\nError Message: No data to set to variable out of the setVariableMessage: { uint32:moduleID; "
        "uint32:objInstanceID; uint32:variableID; uint08[]:Data}",
        "common/debugger/handler/setvariablemsghandler");
    send(MessageID::SET_VARIABLE, path(0, 0, 0));
    CHECK(take().empty());
    CHECK(mWorld.speed == 1.5F);
}

TEST_CASE_FIXTURE(RequestTest, "a tool watches variables") {
    CHECK(mWorld.ben->unregisterVariable(0));
    const std::string who = "Client (desk, ada) tried to setWatch from ";
    const std::string world = who + "module (name: world, version: 3) ";
    check(MessageID::SET_WATCHES,
          {{"no module", path(2, 0, 0) + fieldsOf(true), 1, who + "unknown module: 2"},
           {"not connected", path(1, 0, 0) + fieldsOf(true), 2,
            who + "module (name: moon, version: 3) that he isn't connected to"},
           {"no instance", path(0, 9, 0) + fieldsOf(true), 3, world + "that doesn't know the ObjectInstance: 9"},
           {"no variable", path(0, 0, 9) + fieldsOf(true), 4,
            world + "from ObjectInstance ( ann ) that doesn't know the variable (9)"},
           {"unregistered", path(0, 1, 0) + fieldsOf(true), 4,
            world + "from ObjectInstance ( ben ) that doesn't know the variable (0)"},
           {"not watched yet", path(0, 0, 2) + fieldsOf(false), 5,
            world + "from ObjectInstance ( ann ) to the variable (2) with same value (0)"},
           {"set", path(0, 0, 2) + fieldsOf(true), 0, ""},
           {"set again", path(0, 0, 2) + fieldsOf(true), 5,
            world + "from ObjectInstance ( ann ) to the variable (2) with same value (1)"},
           {"of another one", path(0, 2, 5) + fieldsOf(true), 0, ""}});
    CHECK(mWorld.ann->isWatchedVariable(2));
    CHECK(mWorld.home->isWatchedVariable(5));
    check(MessageID::SET_WATCHES, {{"taken away", path(0, 0, 2) + fieldsOf(false), 0, ""}});
    CHECK_FALSE(mWorld.ann->isWatchedVariable(2));
}
