#include "common/debugger/model/objecttype.h"

#include "tests/debugger/model/modeltest.h"

#include "common/debugger/model/variabletype.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// A host thread that a tool holds at a breakpoint while this lives.
class HeldThread {
public:
    HeldThread(ModelTest& test, uint32 tool, BreakpointInstance* breakpoint, ObjectInstance* instance)
        : mTest(test), mTool(tool) {
        instance->stopInNextBreakpoint();
        mHost = std::thread([=] { breakpoint->enterBreakpoint(instance); });
        // It has been told before the thread lets go of the data mutex, which everything that follows takes.
        while (mTest.mNetwork.takeReply(mTool).empty())
            std::this_thread::yield();
    }
    ~HeldThread() {
        if (mHost.joinable())
            release(wire(0x1F));
    }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;

    /// The tool lets it go with this message.
    void release(const std::string& message) {
        mTest.mNetwork.send(mTool, message);
        mHost.join();
    }

private:
    ModelTest& mTest;
    uint32 mTool;
    std::thread mHost;
};

} // namespace

TEST_CASE_FIXTURE(ModelTest, "declarations that are refused change nothing") {
    CHECK(mModule->registerBreakpointType("step"));
    ObjectGroup* const group = mModule->createObjectGroup("agents");
    ObjectType* const type = group->createObjectType("walker");
    CHECK(type->registerVariableType(STREAM_TYPE_UINT32, "age", true));
    CHECK(type->registerBreakpointInstance("stepped", "step", nullptr));
    Container::List<String> stored(allocator());
    stored.push_back("age");
    stored.push_back("speed");
    uint32 id = 77;
    BreakpointInstance* breakpoint = nullptr;
    ObjectType* found = nullptr;
    checkRefusals({
        {"type", [&] { return group->createObjectType("walker") != nullptr; },
         "Tried to add a new ObjectType (walker) that has the same name as an already known ObjectType within "
         "ObjectGroup (agents)"},
        {"variable", [&] { return type->registerVariableType(STREAM_TYPE_BOOL, "age", true); },
         "Tired to registered already known VariableType (age) within objectType (walker)"},
        {"variable of no type", [&] { return type->registerVariableType(static_cast<StreamIDs>(0x0D), "speed", true); },
         "variable type not supported yet: (13)"},
        {"breakpoint of no type", [&] { return type->registerBreakpointInstance("gone", "end", nullptr) != nullptr; },
         "Tired to register Breakpoint (gone) within object (walker) that has an unknown BreakpointType (end)"},
        {"breakpoint", [&] { return type->registerBreakpointInstance("stepped", "step", nullptr) != nullptr; },
         "Tried to register Breakpoint (stepped) that is already known within ObjectType (walker)"},
        {"breakpoint with a variable that there is not",
         [&] { return type->registerBreakpointInstance("gone", "step", &stored) != nullptr; },
         "Tried to create new BreakpointInstance (gone) with a storeVariable (speed) that isn't known within this "
         "ObjectType (walker)"},
        {"instance", [&] { return type->createObjectInstance("ann") != nullptr; },
         "Tried to register new ObjectInstance to unattached ObjectType"},
        {"destroyed instance", [&] { return type->destroyObjectInstance(0); },
         "Tried to remove an unknown ObjectInstance (id: 0) from ObjectType (walker)"},
        {"destroyed type", [&] { return group->destroyObjectType(1); },
         "Tried to destroy an unknown ObjectType (id: 1) from ObjectGroup (agents)"},
        {"variable by name", [&] { return type->getVarID(id, "speed"); }, ""},
        {"variable by id", [&] { return type->existsVariable(1); }, ""},
        {"breakpoint by name", [&] { return type->getBreakpoint(breakpoint, "gone"); }, ""},
        {"type by name", [&] { return group->getObjectType(found, "bird"); }, ""},
    });
    CHECK(id == 77);
    CHECK_FALSE(breakpoint);
    CHECK_FALSE(found);
    type->setUniqueID(1, 2, 3, 4);
    type->attach();
    checkRefusals({
        {"late variable", [&] { return type->registerVariableType(STREAM_TYPE_BOOL, "late", true); },
         "Tried to register new VariableType to already attached ObjectType"},
        {"late breakpoint", [&] { return type->registerBreakpointInstance("late", "step", nullptr) != nullptr; },
         "Tried to register new BreakpointInstance to already attached ObjectType"},
    });
    CHECK(assertedBy([&] { type->setUniqueID(5, 6, 7, 8); }) == "Tried to set uniqueID to attached ObjectType");
    CHECK(assertedBy([&] { type->attach(); }) == "Tried to attach an ObjectType (walker) second time");
    mModule->attach();
    const uint32 tool = connectTool();
    connectModule(tool);
    CHECK(takeLines(tool) ==
          linesOf({wire(0x04, "world", 3u, uint8{0}, "", 0u, 1u, "step", 0u), wire(0x07, 0u, "agents", 0u, cNone),
                   wire(0x08, 0u, 0u, "walker", 0u, 1u, 2u, 3u, 4u, 1u, 0u, "stepped", 0u, 1u, uint8{7}, "age", 0u,
                        true)}));
}

TEST_CASE_FIXTURE(ModelTest, "a type knows what it has declared") {
    BreakpointType* const step = mModule->registerBreakpointType("step");
    ObjectGroup* const group = mModule->createObjectGroup("agents");
    ObjectType* const bird = makeType(group, "bird", {"height"});
    ObjectType* const walker = group->createObjectType("walker");
    CHECK(walker->registerVariableType(STREAM_TYPE_UINT32, "age", true));
    CHECK(walker->registerVariableType(STREAM_TYPE_UINT32, "height", true));
    Container::List<String> stored(allocator());
    stored.push_back("height");
    stored.push_back("age");
    BreakpointInstance* const stepped = walker->registerBreakpointInstance("stepped", "step", &stored);
    uint32 id = 0;
    CHECK(walker->getVarID(id, "height"));
    CHECK(id == 2);
    CHECK(walker->existsVariable(2));
    CHECK_FALSE(bird->existsVariable(2));
    CHECK_FALSE(walker->existsVariable(cNone));
    BreakpointInstance* breakpoint = nullptr;
    CHECK(walker->getBreakpoint(breakpoint, "stepped"));
    CHECK(breakpoint == stepped);
    CHECK(breakpoint->getType() == step);
    CHECK(assertedBy([&] { breakpoint->setInactive(); }) ==
          "Tried to set Breakpoint inactive while it is already inactive");
    breakpoint->setActive();
    CHECK(assertedBy([&] { breakpoint->setActive(); }) == "Tried to set Breakpoint active while it is already active");
    CHECK(breakpoint->isActive());
    Container::List<String> read(allocator());
    stepped->getStoredVariables(read);
    CHECK(read == stored);
    uint32 parts[4] = {9, 9, 9, 9};
    walker->getUniqueID(parts[0], parts[1], parts[2], parts[3]);
    CHECK((parts[0] | parts[1] | parts[2] | parts[3]) == 0);
    walker->setUniqueID(1, 2, 3, 0xFFFFFFFF);
    walker->getUniqueID(parts[0], parts[1], parts[2], parts[3]);
    CHECK((parts[0] == 1 && parts[1] == 2 && parts[2] == 3 && parts[3] == 0xFFFFFFFF));
}

TEST_CASE_FIXTURE(ModelTest, "ids are used again, the one that was freed last at first") {
    CHECK(mModule->registerBreakpointType("step"));
    ObjectGroup* const group = mModule->createObjectGroup("agents");
    ObjectType* const walker = makeType(group, "walker", {"age"});
    ObjectType* const bird = makeType(group, "bird", {});
    for (uint32 id = 0; id < 6; ++id)
        CHECK(makeInstance(walker, "ann", {"age"})->getID() == id);
    checkRefusals({{"of another type", [&] { return bird->destroyObjectInstance(3); },
                    "Tried to remove an unknown ObjectInstance (id: 3) from ObjectType (bird)"}});
    CHECK(walker->destroyObjectInstance(1));
    CHECK(walker->destroyObjectInstance(3));
    CHECK(bird->createObjectInstance("tit")->getID() == 3);
    CHECK(walker->createObjectInstance("bob")->getID() == 1);
    CHECK(walker->createObjectInstance("bob")->getID() == 6);

    CHECK(group->destroyObjectType(walker->getID()));
    ObjectType* const door = mModule->createObjectGroup("doors")->createObjectType("door");
    CHECK(door->getID() == 0);
    CHECK(door->registerVariableType(STREAM_TYPE_BOOL, "open", true));
    CHECK(door->existsVariable(0));
    CHECK(door->registerBreakpointInstance("opened", "step", nullptr)->getID() == 0);
    checkRefusals({{"type of another group", [&] { return group->destroyObjectType(0); },
                    "Tried to destroy an unknown ObjectType (id: 0) from ObjectGroup (agents)"}});
    ObjectInstance* instance = nullptr;
    CHECK(mModule->getObjectInstance(instance, 3));
    CHECK(instance->getType() == bird);
    for (const uint32 id : {0u, 1u, 2u, 4u, 5u, 6u})
        CHECK_FALSE(mModule->getObjectInstance(instance, id));
}

TEST_CASE_FIXTURE(ModelTest, "an instance takes its history along") {
    CHECK(mModule->registerBreakpointType("step"));
    ObjectType* const type = mModule->createObjectGroup("agents")->createObjectType("walker");
    BreakpointInstance* const breakpoint = type->registerBreakpointInstance("stepped", "step", nullptr);
    type->attach();
    ObjectInstance* const ann = makeInstance(type, "ann", {});
    ObjectInstance* const bob = makeInstance(type, "bob", {});
    for (int pass = 0; pass < 3; ++pass) {
        breakpoint->enterBreakpoint(ann);
        breakpoint->enterBreakpoint(bob);
    }
    CHECK(countEntries(0) == 2);
    CHECK(type->destroyObjectInstance(0));
    CHECK(countEntries(0) == 0);
    ObjectInstance* const cid = makeInstance(type, "cid", {});
    CHECK(cid->getID() == 0);
    CHECK(countEntries(0) == 0);
    breakpoint->enterBreakpoint(cid);
    CHECK(countEntries(0) == 1);
    CHECK(countEntries(1) == 2);
}

TEST_CASE_FIXTURE(ModelTest, "what a thread is held in is not destroyed before it goes on") {
    CHECK(mModule->registerBreakpointType("step"));
    ObjectGroup* const group = mModule->createObjectGroup("agents");
    ObjectType* const type = group->createObjectType("walker");
    BreakpointInstance* const breakpoint = type->registerBreakpointInstance("stepped", "step", nullptr);
    type->attach();
    ObjectInstance* const ann = makeInstance(type, "ann", {});
    ObjectInstance* const bob = makeInstance(type, "bob", {});
    ObjectType* const bird = makeType(group, "bird", {});
    mModule->attach();
    const uint32 tool = connectToModule();
    {
        const HeldThread held(*this, tool, breakpoint, ann);
        CHECK(server().isBreakpointHolding());
        CHECK(mModule->isBreakpointHolding());
        CHECK(group->isBreakpointHolding());
        CHECK(type->isBreakpointHolding());
        CHECK_FALSE(bird->isBreakpointHolding());
        CHECK(bird->isBreakpointActivated());
        CHECK(breakpoint->getType()->isBreakflagActivated());
        checkRefusals({
            {"instance", [&] { return type->destroyObjectInstance(ann->getID()); },
             "Tried to destroy ObjectInstance (ann) that has a holding breakpoint"},
            {"type", [&] { return group->destroyObjectType(type->getID()); },
             "Tried to destroy ObjectType (walker) that has a holding breakpoint"},
            {"module", [&] { return server().destroyModule(mModule); },
             "Tried to destroy module (name: world, id: 0, version: 3) that has a holding breakpoint"},
        });
        CHECK(takeLines(tool).empty());
        // Others are, meanwhile.
        CHECK(type->destroyObjectInstance(bob->getID()));
        CHECK(group->destroyObjectType(bird->getID()));
        CHECK(takeLines(tool) == linesOf({wire(0x0B, 0u, 1u), wire(0x09, 0u, 1u)}));
        Module* other = server().createModule("other", 1, 1);
        CHECK(server().destroyModule(other));
    }
    CHECK_FALSE(type->isBreakpointActivated());
    CHECK(type->destroyObjectInstance(ann->getID()));
    CHECK(group->destroyObjectType(type->getID()));
    CHECK(server().destroyModule(mModule));
    CHECK(takeLines(tool) == linesOf({wire(0x0B, 0u, 0u), wire(0x09, 0u, 0u), wire(0x22, 0u)}));
}

TEST_CASE_FIXTURE(ModelTest, "a step that is to end with an instance ends with it") {
    CHECK(mModule->registerBreakpointType("step"));
    ObjectType* const type = mModule->createObjectGroup("agents")->createObjectType("walker");
    BreakpointInstance* const breakpoint = type->registerBreakpointInstance("stepped", "step", nullptr);
    type->attach();
    ObjectInstance* const ann = makeInstance(type, "ann", {});
    mModule->attach();
    const uint32 tool = connectToModule();
    HeldThread(*this, tool, breakpoint, ann).release(wire(0x1E, true, cNone));
    const auto isMatched = [&](const ObjectInstance& instance) {
        const Server::DataLock inside(server().getDataMutex());
        return server().isStepMatched(*mModule, *breakpoint, instance);
    };
    CHECK(isMatched(*ann));
    CHECK(type->destroyObjectInstance(ann->getID()));
    ObjectInstance* const bob = makeInstance(type, "bob", {});
    CHECK(bob->getID() == 0);
    CHECK_FALSE(isMatched(*bob));
}

TEST_CASE_FIXTURE(ModelTest, "break flags are seen by what is below them") {
    BreakpointType* const step = mModule->registerBreakpointType("step");
    ObjectGroup* const group = mModule->createObjectGroup("agents");
    ObjectGroup* const sub = group->registerSubObjectGroup("crowd");
    ObjectType* const type = makeType(sub, "walker", {});
    const auto seen = [&] {
        return std::string() + (mModule->isBreakpointActivated() ? 'm' : '-') +
               (group->isBreakpointActivated() ? 'g' : '-') + (sub->isBreakpointActivated() ? 's' : '-') +
               (type->isBreakpointActivated() ? 't' : '-') + (step->isBreakflagActivated() ? 'b' : '-');
    };
    CHECK(seen() == "-----");
    type->setBreakflag(true);
    CHECK(seen() == "---t-");
    type->setBreakflag(false);
    group->setBreakflag(true);
    CHECK(seen() == "-gst-");
    group->setBreakflag(false);
    step->setBreakflag(true);
    CHECK(seen() == "----b");
}
