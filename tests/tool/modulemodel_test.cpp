#include "tool/client/modulemodel.h"

#include "tool/client/path.h"
#include "tool/client/quoting.h"

#include "tests/tool/modulehost.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

constexpr ElementKind cKinds[] = {ELEMENT_GROUP, ELEMENT_TYPE, ELEMENT_INSTANCE, ELEMENT_VARIABLE, ELEMENT_BREAKPOINT};

struct ModuleModelTest : LibraryTest {
    ModuleModelTest() {
        model.clear(World::cModule, world.connected.breakpointTypes);
        CHECK(model.add(world.group) == "");
        CHECK(addGroup("birds", 1, 0) == "");
        CHECK(model.add(world.type) == "");
        ObjectTypeRegistration odd;
        odd.groupID = 1;
        odd.name = "a \"b\"/\n";
        odd.typeID = 3;
        odd.variables = {{STREAM_TYPE_BOOL, "x.y", 12, true}, {STREAM_TYPE_BOOL, "", 13, true}};
        CHECK(model.add(odd) == "");
        addInstance(2, "ann", 30);
        addInstance(2, "bob", 31);
        addInstance(2, "bob", 32);
        addInstance(3, "\xC3\xA4\xff", 33);
        addInstance(3, "", 34);
    }
    std::string addGroup(const char* name, uint32 id, uint32 parentID) {
        return model.add(ObjectGroupRegistration{World::cModule, name, id, parentID});
    }
    std::string addInstance(uint32 typeID, const char* name, uint32 id) {
        return model.add(ObjectInstanceRegistration{World::cModule, typeID, name, id});
    }
    /// "instance 30", "variable 10 of 30", or what is wrong.
    std::string find(const std::string& path, std::initializer_list<ElementKind> kinds) {
        const PathResult result = findPath(model, path, kinds);
        if (const auto* const problem = std::get_if<std::string>(&result))
            return *problem;
        const Found& found = std::get<Found>(result);
        return nameOfKind(found.kind) + (' ' + std::to_string(found.id)) +
               (found.kind == ELEMENT_VARIABLE ? " of " + std::to_string(found.instanceID) : std::string());
    }
    std::string findAny(const std::string& path) {
        return find(path, {ELEMENT_GROUP, ELEMENT_TYPE, ELEMENT_INSTANCE, ELEMENT_VARIABLE, ELEMENT_BREAKPOINT});
    }

    World world;
    ModuleModel model;
};

} // namespace

TEST_CASE_FIXTURE(ModuleModelTest, "an element is found by its path, which its names are quoted in") {
    struct {
        const char* path;
        const char* found;
        const char* canonical; ///< null: the same
    } const cases[] = {
        {"agents", "group 0", nullptr},
        {"#0/#1", "group 1", "agents/birds"},
        {"agents/walker", "type 2", nullptr},
        {"agents/walker/ann", "instance 30", nullptr},
        {"\"agents\"/\"walker\"/ann#30", "instance 30", "agents/walker/ann"},
        {"agents/walker/bob#32", "instance 32", nullptr},
        {"agents/walker/#31", "instance 31", "agents/walker/bob#31"},
        {"agents/walker/ann.speed", "variable 10 of 30", nullptr},
        {"agents/walker@step", "breakpoint 20", nullptr},
        {R"(agents/birds/"a \"b\"/\x0A")", "type 3", nullptr},
        {"agents/birds/#3/\"\xC3\xA4\\xFF\"", "instance 33", R"(agents/birds/"a \"b\"/\x0A"/"ä\xFF")"},
        {R"(agents/birds/#3/""."x.y")", "variable 12 of 34", R"(agents/birds/"a \"b\"/\x0A"/""."x.y")"},
        {R"(agents/birds/#3/#33."")", "variable 13 of 33", R"(agents/birds/"a \"b\"/\x0A"/"ä\xFF"."")"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.path);
        CHECK(findAny(given.path) == given.found);
        const Found found = std::get<Found>(findPath(
            model, given.path, {ELEMENT_GROUP, ELEMENT_TYPE, ELEMENT_INSTANCE, ELEMENT_VARIABLE, ELEMENT_BREAKPOINT}));
        const std::string path = found.kind == ELEMENT_VARIABLE ? model.pathOf(found.instanceID, found.id)
                                                                : model.pathOf({found.kind, found.id});
        CHECK(path == (given.canonical ? given.canonical : given.path));
        CHECK(findAny(path) == given.found);
    }
}

TEST_CASE_FIXTURE(ModuleModelTest, "a path that leads nowhere tells what there is") {
    struct {
        const char* path;
        const char* problem;
    } const cases[] = {
        {"people", "there is no people in the module; there is: agents"},
        {"agents/runner", "there is no runner in agents; there is: birds, walker"},
        {"agents/walker/ben", "there is no ben in agents/walker; there is: ann, bob"},
        {"agents/walker/ann#31", "there is no ann#31 in agents/walker; there is: ann, bob"},
        {"agents/walker/ann.size", "there is no variable size in agents/walker/ann; there is: name, speed"},
        {"agents/walker@fly", "there is no breakpoint fly in agents/walker; there is: step"},
        {"agents/walker/bob", "agents/walker/bob can be agents/walker/bob#31 or agents/walker/bob#32"},
        {"agents/walker/bob.speed",
         "agents/walker/bob.speed can be agents/walker/bob#31.speed or agents/walker/bob#32.speed"},
        {"agents/walker/ann/x", "there is no x in agents/walker/ann"},
        {"agents.speed", "there is no variable speed in agents"},
        {"", R"(the path "" is wrong: a name is missing (column 1))"},
        {"agents//walker", R"(the path "agents//walker" is wrong: a name is missing (column 8))"},
        {"agents/", R"(the path "agents/" is wrong: a name is missing (column 8))"},
        {"a b", R"(the path "a b" is wrong: a name with such a character stands in quotes (column 2))"},
        {"agents/\"walker", R"(the path "agents/\"walker" is wrong: a name in quotes is wrong (column 8))"},
        {"agents#x", R"(the path "agents#x" is wrong: no number follows the # (column 7))"},
        {"agents#4294967296", R"(the path "agents#4294967296" is wrong: no number follows the # (column 7))"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.path);
        CHECK(findAny(given.path) == given.problem);
    }
    CHECK(find("agents", {ELEMENT_VARIABLE, ELEMENT_INSTANCE}) ==
          "agents is a group, and not a variable or an instance");
    for (int count = 0; count < 20; ++count)
        addGroup(("g" + std::to_string(10 + count)).c_str(), static_cast<uint32>(100 + count), 1);
    CHECK(findAny("agents/birds/g9") ==
          "there is no g9 in agents/birds; there is: g10, g11, g12, g13, g14, g15, g16, g17 and 13 more");
    // A group and a type may have one name.
    CHECK(addGroup("walker", 50, 0) == "");
    CHECK(find("agents/walker", {ELEMENT_GROUP}) == "group 50");
    CHECK(find("agents/walker", {ELEMENT_TYPE}) == "type 2");
    CHECK(findAny("agents/walker/ann") == "instance 30");
}

TEST_CASE_FIXTURE(ModuleModelTest, "what goes takes along what it has, and numbers are used again") {
    CHECK(model.countInstances() == 5);
    CHECK(model.remove(ObjectInstanceUnregistration{World::cModule, 31}) == "");
    CHECK(model.pathOf({ELEMENT_INSTANCE, 32}) == "agents/walker/bob");
    CHECK(model.pathOf({ELEMENT_INSTANCE, 31}) == "#31");
    CHECK(addInstance(3, "cleo", 31) == "");
    CHECK(model.findInstance(31)->typeID == 3);
    CHECK(model.remove(ObjectTypeUnregistration{World::cModule, 2}) == "");
    CHECK(model.countInstances() == 3);
    CHECK(model.countTypes() == 1);
    CHECK(model.findVariable(World::cSpeed) == nullptr);
    CHECK(model.findBreakpoint(World::cStep) == nullptr);
    CHECK(findAny("agents/walker") == "there is no walker in agents; there is: birds");
    CHECK(model.add(world.type) == "");
    model.clear(6, {});
    for (const ElementKind kind : cKinds)
        CHECK(model.pathOf({kind, 0}) == "#0");
    CHECK(findAny("agents") == "there is no agents in the module");
}

TEST_CASE_FIXTURE(ModuleModelTest, "a registration that makes no sense changes nothing") {
    CHECK(addGroup("agents", 0, cNoID) == "group 0 is known already");
    CHECK(addGroup("x", cNoID, cNoID) == "group 4294967295 is known already");
    CHECK(addGroup("x", 7, 7) == "group 7 is not known");
    CHECK(model.add(world.type) == "type 2 is known already");
    world.type.typeID = 8;
    CHECK(model.add(world.type) == "type 8 has a variable that is known already");
    world.type.variables = {{STREAM_TYPE_BOOL, "a", 90, true}, {STREAM_TYPE_BOOL, "b", 90, true}};
    CHECK(model.add(world.type) == "type 8 has a variable that is known already");
    world.type.variables.clear();
    CHECK(model.add(world.type) == "type 8 has a breakpoint that is known already");
    world.type.groupID = 70;
    CHECK(model.add(world.type) == "group 70 is not known");
    CHECK(addInstance(2, "ann", 30) == "instance 30 is known already");
    CHECK(addInstance(9, "ann", 39) == "type 9 is not known");
    CHECK(model.remove(ObjectTypeUnregistration{World::cModule, 9}) == "type 9 is not known");
    CHECK(model.remove(ObjectInstanceUnregistration{World::cModule, 9}) == "instance 9 is not known");
    CHECK(model.countGroups() == 2);
    CHECK(model.countTypes() == 2);
    CHECK(model.countInstances() == 5);
}
