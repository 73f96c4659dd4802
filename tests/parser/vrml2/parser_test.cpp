#include "tests/parser/vrml2/scenes.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

struct Case {
    const char* name;
    std::string nodes;
    std::string outcome;
};

const char* const cEnd = "VRML2::Parser: End of file reached - corrupt VRML2 file";

std::string nested(int depth, const std::string& innermost = "") {
    std::string text;
    for (int level = 0; level < depth; ++level)
        text += "Group { children ";
    text += innermost.empty() ? "[]" : innermost;
    return text + std::string(static_cast<std::size_t>(depth), '}');
}

/// A host's node with a number that a built-in class has, too.
class SignNode : public VRML2::SceneNode {
public:
    explicit SignNode(const char* name, uint32 typeID = VRML2::FIELD_MFSTRING)
        : SceneNode(VRML2::NODE_GROUP), mName(name), mTypeID(typeID), mTexts(getAllocator()) {}
    void parse(VRML2::Parser& parser) override {
        const VRML2::Member members[] = {{"text", mTypeID, &mTexts}};
        parser.parseMembers(members);
    }
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override {
        return new (allocator) SignNode(mName, mTypeID);
    }
    const char* getNodeName() const override { return mName; }

    const char* mName;
    uint32 mTypeID;
    Container::Vector<String> mTexts;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a file becomes a tree") {
    const Case cases[] = {
        {"nothing", "", "Group()"},
        {"white space and comments", " ,\r\t\n# no end of line", "Group()"},
        {"words next to each other", "Shape{geometry Box{size 1 2 3}}Group{}", "Group(Shape[Box 1 2 3] Group())"},
        {"comments between words", "Group#{\n{#}\nchildren#\n[#]\n]#\n}", "Group(Group())"},
        {"a single child, several and none",
         "Group { children Group { } } Group { children [ Group { }, Shape { } ] } Group { children [ , ] }",
         "Group(Group(Group()) Group(Group() Shape[]) Group())"},
        {"the last value counts", "Group { children Group { } children Shape { } }", "Group(Group(Shape[]))"},
        {"other fields",
         "Transform { bboxCenter 1 2 3 bboxSize 1 2 3 quaternion 1 2 3 4 } Switch { whichChoice 2 choice Group { } }",
         "Group(Transform() Switch2(Group()))"},
        {"an appearance", "Shape { appearance Appearance { material Group { } } }", "Group(Shape[Appearance ])"},
        {"a face set",
         "Shape { geometry IndexedFaceSet { coord Coordinate { point [ 0 0 0, 1.5 0 0, 1 -1 0 ] } ccw FALSE"
         " convex TRUE solid TRUE colorPerVertex FALSE normalPerVertex TRUE creaseAngle .5 colorIndex 1"
         " coordIndex [ 0 1 2 -1 ] normalIndex [ 7 ] texCoordIndex [ ] } }",
         "Group(Shape[IndexedFaceSet 0 0 0 1.5 0 0 1 -1 0 cw 0 1 2 -1])"},
        {"points for several",
         "Shape { geometry IndexedFaceSet { coord DEF p Coordinate { point 1 2 3 } } } "
         "Shape { geometry DEF f IndexedFaceSet { coord USE p coordIndex 0 } } "
         "Shape { geometry USE f }",
         "Group(Shape[IndexedFaceSet 1 2 3] Shape[IndexedFaceSet 1 2 3 0] Shape[IndexedFaceSet 1 2 3 0])"},
        {"names of any kind", "DEF a-1+\xE4:|~ Group { } USE a-1+\xE4:|~ ",
         "Group(a-1+\xE4:|~=Group() a-1+\xE4:|~=Group())"},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOf(each.nodes) == each.outcome);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what is wrong with a file is told with its place") {
    const std::string faces = "Shape { geometry IndexedFaceSet {\n";
    const std::string longName(1024, 'n');
    const Case cases[] = {
        {"an end in a node", "Group {", "2:7 " + std::string(cEnd)},
        {"an end in a name", "USE x", "2:5 " + std::string(cEnd)},
        {"an end in a string", "Inline { url \"a\n", "3:0 " + std::string(cEnd)},
        {"a zero byte", std::string("\nGr\0up", 6), "3:3 VRML2::Parser: Invalid character in VRML2 file."},
        {"one in a comment", std::string("#\0", 2), "2:2 VRML2::Parser: Invalid character in VRML2 file."},
        {"an unknown node", "\n PointLight { }", "3:11 unkown node: PointLight"},
        {"one of another family", "Shape { geometry Group { } }", "2:22 unkown node: Group"},
        {"no name", "Group { } ]", "2:11 invalid character ']' in name"},
        {"a full stop in a name", "DEF a.b Group { }", "2:6 invalid character '.' in name"},
        {"the longest name", "DEF " + longName + " Box ", "2:1032 unkown node: Box"},
        {"a longer one", "DEF " + longName + "x Box", "2:1029 invalid character 'x' in name"},
        {"no body", "Group Group", "2:7 memberdescription must begin with a '{'"},
        {"an unknown field", "Group { child }", "2:13 field 'child' not found in memberdescription"},
        {"a name twice", "DEF a Group { } DEF a Group { }", "2:21 Name 'a' in DEF clause already defined."},
        {"a name twice, one in the other", "DEF a Group { children DEF a Group { } }",
         "2:40 Name 'a' in DEF clause already defined."},
        {"a name in itself", "DEF a Group { children USE a }", "2:28 Node name 'a' in USE statement is not known"},
        {"a name of another family", "Shape { geometry DEF a Box { } } USE a ",
         "2:38 Node name 'a' in USE statement is not known"},
        {"a definition of a use", "DEF a Group { } DEF b USE a ", "2:25 unkown node: USE"},
        {"no white space", "Group { children [ Group { }Group { } ] }",
         "2:29 elements in a multi field must be seperated by whitespace"},
        {"a box that is flat", "Shape {\ngeometry Box { size 1 0 1 } }",
         "3:27 all components of the boxsize must have positive values"},
        {"no bool", faces + "ccw true ", "3:8 bool wanted but not found while parsing!"},
        {"no bool at all", faces + "ccw [", "3:5 bool wanted but not found while parsing!"},
        {"no string", "Inline { url x", "2:14 string must begin with '\"'"},
        {"no number", faces + "creaseAngle x", "3:13 number wanted but not found while parsing!"},
        {"half a number", faces + "creaseAngle -.e}", "3:15 number wanted but not found while parsing!"},
        {"points for colors", faces + "color Coordinate { } }", "3:22 color is not a ColorProperty"},
        {"points for normals", faces + "normal Coordinate { } }", "3:23 normal is not a NormalProperty"},
        {"points for textures", faces + "texCoord Coordinate { } }", "3:25 texcoord is not a TexCoordProperty"},
        {"an index too large", faces + "coord Coordinate { point [ 0 0 0 ] } coordIndex [ 0 -1 1 ] }",
         "3:60 index '1' in the coordIndex field are to big for the coord field"},
        {"an index too small", faces + "coordIndex [ -1 -2 ] }",
         "3:22 index '-2' in the coordIndex field are to big for the coord field"},
        {"nesting that is too deep", nested(257), "2:4357 VRML2::Parser: Nodes are nested more than 256 deep"},
        {"the same with a name", "DEF a Group { children DEF b Group { } }\n" + nested(255, "USE a"),
         "3:4340 VRML2::Parser: Nodes are nested more than 256 deep"},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOf(each.nodes) == each.outcome);
    }
    CHECK(outcomeOf(nested(256)).size() > 256 * 7);
    CHECK(outcomeOf("DEF a Group { children DEF b Group { } }\n" + nested(254, "USE a")).size() > 256 * 7);
}

TEST_CASE_FIXTURE(LibraryTest, "a file begins with the header") {
    const std::pair<std::string, std::string> cases[] = {
        {"", "1:0 " + std::string(cEnd)},
        {"#VRML V2.0", "1:10 " + std::string(cEnd)},
        {"#VRML V2.0 utf8", "Group()"},
        {"#VRML V2.0 utf8 and more\nGroup { }", "Group(Group())"},
        {"#VRML V1.0 ascii\n", "1:8 VRML2::Parser: Wrong header in VRML2 file."},
        {"\n#VRML V2.0 utf8\n", "2:0 VRML2::Parser: Wrong header in VRML2 file."},
    };
    for (const auto& each : cases) {
        CAPTURE(each.first);
        MemoryFileSystem files;
        files.add("main.wrl", each.first);
        VRML2::Parser parser;
        CHECK(outcomeOf(files, parser) == each.second);
    }
    VRML2::Parser parser;
    CHECK(failureOr([&] { return shown(parser.parse("main.wrl", nullptr)); }) ==
          "ArgumentNullException: VRML2::Parser: file system pointer cannot be NULL");
}

TEST_CASE_FIXTURE(LibraryTest, "unknown nodes are skipped and logged where that is wished") {
    const Case cases[] = {
        {"a node", "PointLight { a { } b \"}\\\"}\" # }\n } Group { }", "Group(Group())"},
        {"a child", "Group { children [ Cone { }, Group { } Cone { } ] }", "Group(Group(Group()))"},
        {"a geometry", "Shape { geometry DEF c Cone { } } Shape { geometry USE c }", "Group(Shape[] Shape[])"},
        {"a property", "Shape { geometry IndexedFaceSet { color Color { } } }", "Group(Shape[IndexedFaceSet])"},
        {"an unknown name", "Group { children [ USE a Group { } ] }", "Group(Group(Group()))"},
        {"no node", "Cone x", "2:6 Was trying to skip a unknown node 'Cone' but the node does not start with '{'"},
        {"an end in it", "Cone { {}", "2:9 " + std::string(cEnd)},
        {"a field", "Group { x { } }", "2:9 field 'x' not found in memberdescription"},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        CHECK(outcomeOf(each.nodes, true) == each.outcome);
    }
    RecordingListener listener;
    outcomeOf("Light { } Shape { geometry Cone { } } Shape { geometry IndexedFaceSet { color Color { } } }", true);
    REQUIRE(listener.mHeard.size() == 3);
    const std::string families[] = {"SceneNode", "GeometryNode", "GeometricProperty"};
    const std::string names[] = {"Light", "Cone", "Color"};
    for (std::size_t index = 0; index < 3; ++index) {
        const RecordingListener::Heard& heard = listener.mHeard[index];
        CHECK(heard.type == Debug::LOG_MESSAGE);
        CHECK(heard.function == "Tarq::Common::Parser::VRML2::NodeParser<class Tarq::Common::Parser::VRML2::" +
                                    families[index] + ">::parseNode");
        CHECK(heard.message == "Skipping node '" + names[index] +
                                   "' as no appropriate node parser registered and node skipping enabled");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a node that stands in several places is one, and outlives none of them") {
    const Scene root = sceneOf("DEF a Group { children Shape { geometry DEF b Box { } } }\n"
                               "Shape { geometry USE b } Group { children [ USE a USE a ] } Switch { choice USE a }");
    const auto& children = dynamic_cast<VRML2::GroupingNode&>(*root).getChildren();
    const auto* const group = dynamic_cast<const VRML2::GroupingNode*>(children[2].get());
    REQUIRE(group);
    CHECK(group->getChildren()[1] == children[0]);
    CHECK(children[0].getReferenceCount() == 4);
    CHECK(children[0]->getParent() == children[3].get());
    CHECK(children[3]->getParent() == root.get());
    const auto* const shape = dynamic_cast<const VRML2::ShapeNode*>(children[1].get());
    REQUIRE(shape);
    CHECK(shape->getGeometry()->getReferenceCount() == 2);
    CHECK(shape->getParent() == root.get());
    const Scene other = sceneOf("Group { children DEF a Group { } } Group { children USE a }");
    const VRML2::SceneNodePtr last = dynamic_cast<VRML2::GroupingNode&>(*other).getChildren()[1];
    const VRML2::SceneNodePtr named = dynamic_cast<VRML2::GroupingNode&>(*last).getChildren()[0];
    CHECK(named->getParent() == last.get());
}

TEST_CASE_FIXTURE(LibraryTest, "a host has nodes of its own") {
    MemoryFileSystem files;
    files.add("main.wrl", cHeader + "Sign { text [ \"a\\\"b\" \"\" \"\\\\\" \"{\n#\" ] } Inline { url \"b.wrl\" }");
    files.add("b.wrl", cHeader + "Sign { }");
    VRML2::SceneNodePtr last;
    VRML2::Parser parser;
    const VRML2::SceneNodePtr prototype(new (allocator()) SignNode("Sign"));
    parser.registerSceneNode(prototype.get());
    CHECK(prototype.getReferenceCount() == 2);
    const Scene root(parser.parse("main.wrl", &files));
    CHECK(shown(root.get()) == "Group(Sign Inline(Group(Sign)))");
    const auto& children = dynamic_cast<VRML2::GroupingNode&>(*root).getChildren();
    const auto& texts = dynamic_cast<const SignNode&>(*children[0]).mTexts;
    CHECK(texts == Container::Vector<String>(allocator(), {"a\"b", "", "\\", "{\n#"}));
    Container::Vector<Math::Vec3f> vertices(allocator());
    Container::Vector<Geom::IndexedTriangle> triangles(allocator());
    VRML2::MeshGen::createMesh(vertices, triangles, root.get());
    CHECK(vertices.empty());

    const std::string place = "common/parser/vrml2/parser";
    const ExpectedAssertion twice("!mRegisteredNodes.exists(nodeName)\nError Message: There is already a node "
                                  "registered with name:Group",
                                  place);
    parser.registerSceneNode(new (allocator()) SignNode("Group"));
    const ExpectedAssertion unnamed("nodeName\nError Message: NULL-Pointer node name is not allowed", place, 2);
    parser.registerSceneNode(new (allocator()) SignNode(nullptr));
    parser.registerSceneNode(nullptr);
    const ExpectedAssertion unhandled("\nError Message: unhandled typeID:11", place);
    parser.registerSceneNode(new (allocator()) SignNode("Odd", 11));
    files.add("main.wrl", cHeader + "Odd { text }");
    CHECK(outcomeOf(files, parser) == "Group(Odd)");
}

TEST_CASE_FIXTURE(LibraryTest, "of a host's nodes, none shows in a mesh, whatever its number is") {
    MemoryFileSystem files;
    VRML2::Parser parser;
    parser.registerSceneNode(new (allocator()) HallNode("Hall", 1000));
    parser.registerSceneNode(new (allocator()) HallNode("GroupHall", VRML2::NODE_GROUP));
    parser.registerSceneNode(new (allocator()) HallNode("ShapeHall", VRML2::NODE_SHAPE));
    for (const char* const name : {"Group", "Transform", "Hall", "GroupHall", "ShapeHall"}) {
        CAPTURE(name);
        files.add("main.wrl", cHeader + name + " { children Shape { geometry Box { } } }");
        const Scene root(parser.parse("main.wrl", &files));
        Container::Vector<Math::Vec3f> vertices(allocator());
        Container::Vector<Geom::IndexedTriangle> triangles(allocator());
        VRML2::MeshGen::createMesh(vertices, triangles, root.get());
        CHECK(triangles.size() == (std::string(name).ends_with("Hall") ? 0 : 12));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "outside of a parse there is nothing to read") {
    MemoryFileSystem files;
    files.add("main.wrl", cHeader + "Group { }\n Group { children ] }");
    VRML2::Parser parser;
    const auto read = [&] { return failureOr([&] { return std::string(parser.readName()); }); };
    CHECK(read() == "1:0 " + std::string(cEnd));
    CHECK(outcomeOf(files, parser) == "3:19 invalid character ']' in name");
    CHECK(read() == "3:19 " + std::string(cEnd));
    CHECK(failureOr([&] { return std::string(1, parser.readNextChar()); }) == "3:19 " + std::string(cEnd));
    const AssertionRecorder recorder;
    parser.gotoPrevChar();
    CHECK(!parser.parseInlineFile("main.wrl"));
    CHECK(recorder.getSeen().size() == 2);
}

TEST_CASE_FIXTURE(LibraryTest, "names and lines begin anew with each file") {
    MemoryFileSystem files;
    files.add("main.wrl", cHeader + "DEF a Group { }\n\n]");
    VRML2::Parser parser;
    for (int round = 0; round < 2; ++round)
        CHECK(outcomeOf(files, parser) == "4:1 invalid character ']' in name");
    files.add("main.wrl", cHeader + "USE a ");
    CHECK(outcomeOf(files, parser) == "2:5 Node name 'a' in USE statement is not known");
}
