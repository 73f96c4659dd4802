#include "common/debugger/model/module.h"

#include "tests/debugger/model/modeltest.h"

#include "common/memory/memoryexception.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// Names and ids of the modules that the server has.
std::string listModules() {
    std::string all;
    for (uint32 id = 0; id < 8; ++id) {
        const Server::DataLock inside(Server::getDataMutex());
        if (const Module* const module = ServerTest::server().findModule(id))
            all += std::to_string(id) + ' ' + module->getName().c_str() + ' ' + std::to_string(module->getVersion()) +
                   "; ";
    }
    return all;
}

} // namespace

TEST_CASE_FIXTURE(ServerTest, "modules are known by name and version, and by id, while they live") {
    const RecordingListener log(Debug::LOG_MESSAGE);
    Module* const first = server().createModule("world", 1, 10);
    Module* second = server().createModule("world", 2, 10);
    Module* const other = server().createModule("sound", 1, 10);
    CHECK(log.messages() == "Registered new module (name: world, id: 0, version: 1) "
                            "Registered new module (name: world, id: 1, version: 2) "
                            "Registered new module (name: sound, id: 2, version: 1) ");
    CHECK(log.mHeard[0].function == "Tarq::Common::Debugger::Server::createModule");
    CHECK(listModules() == "0 world 1; 1 world 2; 2 sound 1; ");
    Module* found = nullptr;
    CHECK(server().getModule(found, "world", 1));
    CHECK(found == first);
    CHECK(server().getModule(found, 2));
    CHECK(found == other);
    CHECK_FALSE(server().getModule(found, "world", 3));

    Module* gone = second;
    CHECK(server().destroyModule(second));
    CHECK_FALSE(second);
    checkRefusals({
        {"the same again", [&] { return server().createModule("sound", 1, 10) != nullptr; },
         "Tried to register already registered module (name: sound, version: 1)"},
        {"one that is gone", [&] { return server().destroyModule(gone); },
         "Tried to unregister unknown module (name: ?, id: ?, version: ?)"},
        {"none", [&] { return server().destroyModule(second); },
         "Tried to unregister unknown module (name: ?, id: ?, version: ?)"},
        {"an id that is free", [&] { return server().getModule(found, 1); },
         "Tried to get unknown module via moduleID: 1"},
        {"an id that was never used", [&] { return server().getModule(found, cNone); },
         "Tried to get unknown module via moduleID: 4294967295"},
    });
    CHECK(found == other);
    CHECK(listModules() == "0 world 1; 2 sound 1; ");
    CHECK(server().createModule("light", 7, 1)->getModuleID() == 1);
}

TEST_CASE_FIXTURE(ServerTest, "a module without a history is reported, and has one of one entry") {
    const ExpectedAssertion expected("maxHistoryLength > 0\nError Message: Tried to create Module with historyLength=0 "
                                     "-> debugger needs history to report holding breakpoints",
                                     "common/debugger/model/module");
    const Module* const module = server().createModule("world", 1, 0);
    REQUIRE(module);
    CHECK(const_cast<Module*>(module)->getHistory().getMaximumLength() == 1);
}

TEST_CASE_FIXTURE(ServerTest, "the server deletes its modules when it stops, and when it goes") {
    for (int again = 0; again < 2; ++again) {
        REQUIRE(run());
        Module* const module = server().createModule("world", 1, 10);
        REQUIRE(module);
        CHECK(module->getModuleID() == 0);
        ObjectType* const type = module->createObjectGroup("agents")->createObjectType("walker");
        type->attach();
        type->createObjectInstance("ann")->attach();
        module->attach();
        const uint32 tool = mNetwork.connect();
        mNetwork.send(tool, wire(0x03, "world", 1u, false));
        REQUIRE(module->isClientConnected());
        for (int message = 0; message < 4; ++message)
            CHECK_FALSE(mNetwork.takeReply(tool).empty());
        REQUIRE(Server::exitAsync());
        CHECK(listModules().empty());
        CHECK(mNetwork.takeReply(tool).empty());
        Module* gone = module;
        CHECK(assertedBy([&] { CHECK_FALSE(server().destroyModule(gone)); }) ==
              "Tried to unregister unknown module (name: ?, id: ?, version: ?)");
    }
    CHECK(server().createModule("before a start", 1, 10)->createObjectGroup("agents"));
    REQUIRE(run());
    CHECK(listModules() == "0 before a start 1; ");
}

TEST_CASE_FIXTURE(ModelTest, "groups and breakpoint types that are refused change nothing") {
    ObjectGroup* const agents = mModule->createObjectGroup("agents");
    ObjectGroup* const crowd = agents->registerSubObjectGroup("crowd");
    BreakpointType* const step = mModule->registerBreakpointType("step");
    ObjectGroup* group = agents;
    BreakpointType* type = step;
    checkRefusals({
        {"group", [&] { return mModule->createObjectGroup("agents") != nullptr; },
         "Tried to register ObjectGroup (agents) that has the same name as another ObjectGroup within module (world)"},
        {"sub-group", [&] { return agents->registerSubObjectGroup("crowd") != nullptr; },
         "Tried to register new subGroup that has the same name (crowd) as an already known subGroup within "
         "ObjectGroup (agents)"},
        {"group by name", [&] { return mModule->getObjectGroup(group, "crowd"); },
         "Module (name: world, version: 3) tried to get unknown objectGroup (crowd)"},
        {"sub-group by name", [&] { return agents->getSubGroup("agents") != nullptr; },
         "Tried to get unknown subGroup (agents) from ObjectGroup (agents)"},
        {"sub-group by id", [&] { return agents->getSubGroup(2) != nullptr; },
         "Tried to get unknown subGroup (2) from ObjectGroup (agents)"},
        {"sub-group of another", [&] { return crowd->getSubGroup(0u) != nullptr; },
         "Tried to get unknown subGroup (0) from ObjectGroup (crowd)"},
        {"breakpoint type", [&] { return mModule->registerBreakpointType("step") != nullptr; },
         "Tried to register BreakpointType (step) that has the same name as another already registered BreakpointType "
         "within module (name: world, version: 3)"},
        {"breakpoint type by name", [&] { return mModule->getBreakpointType(type, "end"); },
         "Tried to get unknown BreakpointType (end) within module (name: world, version: 3)"},
        {"group by id", [&] { return mModule->getObjectGroup(group, 2); }, ""},
        {"breakpoint type by id", [&] { return mModule->getBreakpointType(type, 1); }, ""},
    });
    CHECK(group == agents);
    CHECK(type == step);
    // The same names elsewhere are others, and no id was used up.
    CHECK(mModule->createObjectGroup("crowd")->getID() == 2);
    CHECK(crowd->registerSubObjectGroup("crowd")->getID() == 3);
    CHECK(mModule->registerBreakpointType("end")->getID() == 1);
    mModule->attach();
    CHECK(mModule->isAttached());
    checkRefusals({{"late", [&] { return mModule->registerBreakpointType("late") != nullptr; },
                    "Tried to register BreakpointType within module (world) after it was attached"}});
    CHECK(mModule->createObjectGroup("late"));
}

TEST_CASE_FIXTURE(ModelTest, "every element is found by its id, and by its name where that is unique") {
    BreakpointType* const step = mModule->registerBreakpointType("step");
    ObjectGroup* const agents = mModule->createObjectGroup("agents");
    ObjectGroup* const crowd = agents->registerSubObjectGroup("crowd");
    ObjectType* const walker = crowd->createObjectType("walker");
    CHECK(walker->registerVariableType(STREAM_TYPE_UINT32, "age", true));
    BreakpointInstance* const stepped = walker->registerBreakpointInstance("stepped", "step", nullptr);
    walker->attach();
    ObjectInstance* const ann = makeInstance(walker, "ann", {"age"});
    ObjectGroup* group = nullptr;
    CHECK(mModule->getObjectGroup(group, 1));
    CHECK(group == crowd);
    CHECK(mModule->getObjectGroup(group, "agents"));
    CHECK(group == agents);
    CHECK(agents->getSubGroup(1) == crowd);
    CHECK(agents->getSubGroup("crowd") == crowd);
    CHECK(crowd->getParent() == agents);
    CHECK_FALSE(agents->getParent());
    CHECK(crowd->getModule() == mModule);
    ObjectType* type = nullptr;
    CHECK(mModule->getObjectType(type, 0));
    CHECK(type == walker);
    CHECK_FALSE(agents->getObjectType(type, "walker"));
    CHECK(crowd->getObjectType(type, "walker"));
    CHECK(walker->getGroup() == crowd);
    ObjectInstance* instance = nullptr;
    CHECK(mModule->getObjectInstance(instance, 0));
    CHECK(instance == ann);
    CHECK(ann->getType() == walker);
    Debugger::VariableType* variable = nullptr;
    CHECK(mModule->getVariableType(variable, 0));
    CHECK(variable->getName() == "age");
    CHECK(variable->getObjectType() == walker);
    BreakpointType* breakpointType = nullptr;
    CHECK(mModule->getBreakpointType(breakpointType, 0));
    CHECK(breakpointType == step);
    CHECK(mModule->getBreakpointType(breakpointType, "step"));
    CHECK(breakpointType->getModule() == mModule);
    BreakpointInstance* breakpoint = nullptr;
    CHECK(mModule->getBreakpointInstance(breakpoint, 0));
    CHECK(breakpoint == stepped);
    CHECK(breakpoint->getType() == step);
    CHECK(breakpoint->getObjectType() == walker);
    for (const uint32 id : {1u, cNone}) {
        CHECK_FALSE(mModule->getObjectType(type, id));
        CHECK_FALSE(mModule->getObjectInstance(instance, id));
        CHECK_FALSE(mModule->getVariableType(variable, id));
        CHECK_FALSE(mModule->getBreakpointInstance(breakpoint, id));
    }
}

TEST_CASE_FIXTURE(ModelTest, "a build whose every allocation fails once is the same in the end") {
    ObjectGroup* group = nullptr;
    ObjectGroup* sub = nullptr;
    ObjectType* type = nullptr;
    ObjectInstance* instance = nullptr;
    Module* second = nullptr;
    Container::List<String> stored(allocator());
    // Names that take memory of their own.
    const String longName("a name that does not fit into the text itself");
    stored.push_back(longName);
    const std::function<void()> steps[] = {
        [&] { second = server().createModule(longName, 1, 10); },
        [&] { mModule->registerBreakpointType(longName); },
        [&] { group = mModule->createObjectGroup(longName); },
        [&] { sub = group->registerSubObjectGroup(longName); },
        [&] { type = sub->createObjectType(longName); },
        [&] { type->registerVariableType(STREAM_TYPE_UINT32, longName, true); },
        [&] { type->registerVariableType(STREAM_TYPE_ARRAY_WSTRING, "second", true); },
        [&] { type->registerBreakpointInstance(longName, longName, &stored); },
        [&] { type->attach(); },
        [&] { instance = type->createObjectInstance(longName); },
        [&] { instance->registerVariable(longName, &mNumber); },
        [&] { instance->registerVariable("second", &mNumber); },
        [&] { instance->attach(); },
        [&] { instance->registerWatchedVariable(0); },
    };
    int failures = 0;
    int step = 0;
    for (const auto& build : steps) {
        ++step;
        CAPTURE(step);
        for (int granted = 0;; ++granted) {
            REQUIRE(granted < 100);
            getMemory().failAfter(granted);
            bool isBuilt = true;
            try {
                build();
            } catch (Memory::OutOfMemoryException* exception) {
                isBuilt = false;
                delete exception;
            }
            getMemory().failNever();
            if (isBuilt)
                break;
            ++failures;
        }
    }
    CHECK(failures > 20);
    CHECK(second->getModuleID() == 1);
    mModule->attach();
    const uint32 tool = connectTool();
    connectModule(tool);
    const char* const name = longName.c_str();
    CHECK(takeLines(tool) == linesOf({wire(0x04, "world", 3u, uint8{0}, "", 0u, 1u, name, 0u),
                                      wire(0x07, 0u, name, 0u, cNone), wire(0x07, 0u, name, 1u, 0u),
                                      wire(0x08, 0u, 1u, name, 0u, 0u, 0u, 0u, 0u, 1u, 0u, name, 0u, 2u, uint8{0x07},
                                           name, 0u, true, uint8{0x8C}, "second", 1u, true),
                                      wire(0x0A, 0u, 0u, name, 0u)}));
    CHECK(instance->isWatchedVariable(0));
}
