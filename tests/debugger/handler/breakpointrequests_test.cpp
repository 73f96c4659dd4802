#include "tests/debugger/handler/modelworld.h"

using namespace Tarq::Test;

namespace {

const std::string cMakeStepLayout = "makeStepMsgHandler: { bool:objectInstanceFilter, uint32:breakpointTypeFilterID }";

/// A condition as a tool sends it: speed > 1.
const std::string cIsFast = R"(<c datatype="Boolean" expressiontype="binaryoperator" operatortype="greater">)"
                            R"(<lhs datatype="Float" expressiontype="variable"><name>speed</name></lhs>)"
                            R"(<rhs datatype="Float" expressiontype="value"><value>1</value></rhs></c>)";
const std::string cSpeed = R"(<c datatype="Float" expressiontype="variable"><name>speed</name></c>)";

struct BreakpointRequestTest : RequestTest {
    /// Passes the breakpoint on a thread of its own; says whether it was held, and by which messages the tool heard.
    bool pass(BreakpointInstance& breakpoint, ObjectInstance& trigger, const std::function<void()>& answer) {
        HostThread host([&] { breakpoint.enterBreakpoint(&trigger); });
        const auto isHeld = [] {
            const Server::DataLock inside(Server::getDataMutex());
            return server().isBreakpointHolding();
        };
        CHECK(comesTrue([&] { return host.hasReturned() || isHeld(); }));
        const bool wasHeld = isHeld();
        if (wasHeld) {
            CHECK(take().starts_with(hexOf(typeOf(MessageID::BREAKPOINT_STATE) + fieldsOf(uint32{0}))));
            answer();
        }
        host.join();
        CHECK(take().empty());
        return wasHeld;
    }
    bool pass(BreakpointInstance& breakpoint, ObjectInstance& trigger) {
        return pass(breakpoint, trigger, [&] { send(MessageID::CONTINUE, ""); });
    }
};

} // namespace

TEST_CASE_FIXTURE(BreakpointRequestTest, "a tool has a breakpoint hold") {
    const auto fields = [](uint32 moduleID, uint32 breakpointID, bool newValue) {
        return fieldsOf(moduleID, breakpointID, newValue);
    };
    const std::string who = "Client (desk, ada) tried to setBreakpoint from ";
    const std::string world = who + "module (id: 0, version: 3) ";
    check(MessageID::SET_BREAKPOINT,
          {{"no module", fields(2, 0, true), 1, who + "unknown module: 2"},
           {"not connected", fields(1, 0, true), 2, who + "module (id: 1, version: 3) that he isn't connected to"},
           {"no breakpoint", fields(0, 2, true), 3, world + "that doesn't know the BreakpointInstance: 2"},
           {"off already", fields(0, 0, false), 4, world + "in BreakpointInstance (stepped) with the same value: 0"},
           {"on", fields(0, 0, true), 0, ""},
           {"on already", fields(0, 0, true), 4, world + "in BreakpointInstance (stepped) with the same value: 1"}});
    CHECK(mWorld.stepped->isActive());
    CHECK(pass(*mWorld.stepped, *mWorld.ann));
    CHECK_FALSE(pass(*mWorld.turned, *mWorld.ann));
    check(MessageID::SET_BREAKPOINT, {{"off", fields(0, 0, false), 0, ""}});
    CHECK_FALSE(pass(*mWorld.stepped, *mWorld.ann));
}

TEST_CASE_FIXTURE(BreakpointRequestTest, "a breakpoint of a type that is not attached is unknown") {
    Debugger::ObjectType* const type = mWorld.module->createObjectGroup("new")->createObjectType("new");
    CHECK(type->registerBreakpointInstance("hidden", "step", nullptr)->getID() == 2);
    takeAll();
    check(MessageID::SET_BREAKPOINT, {{"hidden", fieldsOf(uint32{0}, uint32{2}, true), 3,
                                       "Client (desk, ada) tried to setBreakpoint from module (id: 0, version: 3) that "
                                       "doesn't know the BreakpointInstance: 2"}});
}

TEST_CASE_FIXTURE(BreakpointRequestTest, "a tool has an object instance hold") {
    const auto fields = [](uint32 moduleID, uint32 instanceID, bool newValue) {
        return fieldsOf(moduleID, instanceID, newValue);
    };
    const std::string who = "Client (desk, ada) tried to setBreakpointObjectInstance from ";
    const std::string world = who + "module (name: world, version: 3) ";
    check(MessageID::SET_BREAKPOINT_OBJECT_INSTANCE,
          {{"no module", fields(2, 0, true), 1, who + "unknown module: 2"},
           {"not connected", fields(1, 0, true), 2, who + "module (name: moon, version: 3) that he isn't connected to"},
           {"no instance", fields(0, 9, true), 3, world + "that doesn't know the ObjectInstance: 9"},
           {"off already", fields(0, 1, false), 4, world + "from ObjectInstance (name: ben) with same value (0)"},
           {"on", fields(0, 1, true), 0, ""},
           {"on already", fields(0, 1, true), 4, world + "from ObjectInstance (name: ben) with same value (1)"}});
    CHECK(pass(*mWorld.turned, *mWorld.ben));
    CHECK(pass(*mWorld.stepped, *mWorld.ben));
    CHECK_FALSE(pass(*mWorld.stepped, *mWorld.ann));
    check(MessageID::SET_BREAKPOINT_OBJECT_INSTANCE, {{"off", fields(0, 1, false), 0, ""}});
    CHECK_FALSE(pass(*mWorld.turned, *mWorld.ben));
}

TEST_CASE_FIXTURE(BreakpointRequestTest, "a tool gives a breakpoint a condition") {
    const std::string stepped = fieldsOf(uint32{0}, uint32{0});
    const std::string who = "Client (desk, ada) tried to setBreakpointCondition from ";
    const std::string world = who + "module (id: 0, version: 3) ";
    const std::string notBoolean = world + "in BreakpointInstance (stepped) to a condition that isnt of type bool";
    const std::string asserted = "Tried to set new Condition to Breakpoint (stepped) that isn't of type bool\n";
    check(MessageID::SET_BREAKPOINT, {{"on", stepped + fieldsOf(true), 0, ""}});
    check(MessageID::SET_BREAKPOINT_CONDITION,
          {{"no module", fieldsOf(uint32{2}, uint32{0}), 1, who + "unknown module: 2", nestedOf(cIsFast)},
           {"not connected", fieldsOf(uint32{1}, uint32{0}), 2,
            who + "module (id: 1, version: 3) that he isn't connected to", nestedOf(cIsFast)},
           {"no breakpoint", fieldsOf(uint32{0}, uint32{2}), 3, world + "that doesn't know the BreakpointInstance: 2",
            nestedOf(cIsFast)},
           {"set", stepped, 0, "", nestedOf(cIsFast)}});
    CHECK(pass(*mWorld.stepped, *mWorld.ann));
    mWorld.speed = 0.5F;
    CHECK_FALSE(pass(*mWorld.stepped, *mWorld.ann));
    check(MessageID::SET_BREAKPOINT_CONDITION, {{"none", stepped, 0, "", nestedOf("")}});
    CHECK(pass(*mWorld.stepped, *mWorld.ann));
    check(MessageID::SET_BREAKPOINT_CONDITION, {{"a number", stepped, 4, notBoolean, nestedOf(cSpeed), "", asserted}});
    for (const std::string& broken : {std::string("<"), std::string("<c/>"), std::string("speed > 1"),
                                      cIsFast.substr(0, 60), std::string(1, '\0')}) {
        CAPTURE(broken);
        const AssertionRecorder assertions;
        send(MessageID::SET_BREAKPOINT_CONDITION, stepped + nestedOf(broken));
        CHECK(take() == hexOf(fieldsOf(uint32{0x0100001D}) + stepped + fieldsOf(uint8{4}, notBoolean.c_str())));
        CHECK(errorsOf(assertions).ends_with(asserted));
    }
    CHECK(pass(*mWorld.stepped, *mWorld.ann));
}

TEST_CASE_FIXTURE(BreakpointRequestTest, "a tool has every breakpoint hold until it continues") {
    send(MessageID::SET_BREAKPOINT_CLIENT, "");
    {
        const ExpectedAssertion expected(
            "\nError Message: Client (desk, ada) tried to set BreakflagClient but it was already set",
            "common/debugger/handler/setbreakpointclientmsghandler");
        send(MessageID::SET_BREAKPOINT_CLIENT, "");
    }
    CHECK(take().empty());
    CHECK(pass(*mWorld.turned, *mWorld.ann));
    CHECK_FALSE(pass(*mWorld.turned, *mWorld.ann));
}

TEST_CASE_FIXTURE(BreakpointRequestTest, "a tool steps, by instance or by type") {
    const auto step = [&](bool isSame, uint32 type) { send(MessageID::MAKE_STEP, fieldsOf(isSame, type)); };
    {
        const AssertionRecorder assertions;
        step(false, 0xFFFFFFFF);
        CHECK(errorsOf(assertions) == "Tried to make step but no Breakpoint is holding\n");
    }
    mWorld.ann->stopInNextBreakpoint();
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] { step(true, 0xFFFFFFFF); }));
    CHECK_FALSE(pass(*mWorld.stepped, *mWorld.ben));
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] { step(false, 1); }));
    CHECK_FALSE(pass(*mWorld.stepped, *mWorld.ann));
    CHECK(pass(*mWorld.turned, *mWorld.ben, [&] { step(false, 0xFFFFFFFF); }));
    CHECK(pass(*mWorld.stepped, *mWorld.ann));
    CHECK_FALSE(pass(*mWorld.stepped, *mWorld.ann));
}

TEST_CASE_FIXTURE(BreakpointRequestTest, "a tool looks around, and changes things, while a thread is held") {
    mWorld.ann->stopInNextBreakpoint();
    CHECK(pass(*mWorld.stepped, *mWorld.ann, [&] {
        check(MessageID::SET_VARIABLE,
              {{"speed", fieldsOf(uint32{0}, uint32{0}, uint32{0}), 0, "", nestedOf(fieldsOf(9.0F))}});
        check(MessageID::GET_VARIABLE,
              {{"speed", fieldsOf(uint32{0}, uint32{0}, uint32{0}), 0, "", "", nestedOf(fieldsOf(9.0F))}});
        send(MessageID::CONTINUE, "");
    }));
    CHECK(mWorld.speed == 9);
}
