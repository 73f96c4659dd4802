#include "tests/parser/vrml2/scenes.h"
#include "tests/support/librarytest.h"

#include "common/callback/callbackallocator.h"
#include "common/geom/geomutility.h"

#include <cmath>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

struct Mesh {
    Container::Vector<Math::Vec3f> vertices{Library::getTempAlloc()};
    Container::Vector<Geom::IndexedTriangle> triangles{Library::getTempAlloc()};

    void add(const VRML2::SceneNode& root, const VRML2::MeshLimits& limits = VRML2::MeshLimits()) {
        VRML2::MeshGen::createMesh(vertices, triangles, &root, limits);
    }
    std::string shownTriangles() const {
        std::string text;
        for (const auto& [a, b, c] : triangles)
            text += "(" + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(c) + ")";
        return text;
    }
    std::string shownSize() const { return std::to_string(vertices.size()) + "/" + std::to_string(triangles.size()); }
};

const char* const cBoxTriangles =
    "(0 1 5)(0 5 4)(3 0 4)(3 4 7)(2 3 7)(2 7 6)(1 2 6)(1 6 5)(4 5 6)(4 6 7)(3 2 1)(3 1 0)";

std::string faceSet(const std::string& points, const std::string& indexes, const std::string& more = "") {
    return "Shape { geometry IndexedFaceSet { coord Coordinate { point [" + points + "] } coordIndex [" + indexes +
           "] " + more + "} }";
}

/// `levels` groups, of which each holds the one below it twice.
std::string doubled(int levels, const std::string& innermost) {
    std::string text = "DEF n0 Group { children " + innermost + " }\n";
    for (int level = 1; level <= levels; ++level) {
        const std::string below = "USE n" + std::to_string(level - 1) + " ";
        text += "DEF n" + std::to_string(level) + " Group { children [ " + below + below + "] }\n";
    }
    return text;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "scenes become triangles") {
    const std::string square = "0 0 0, 1 0 0, 1 1 0, 0 1 0";
    struct Case {
        const char* name;
        std::string nodes;
        std::string triangles;
        uint32 vertices;
    };
    const Case cases[] = {
        {"a box", "Shape { geometry Box { } }", cBoxTriangles, 8},
        {"a switch", "Switch { whichChoice 0 choice Shape { geometry Box { } } }", "", 0},
        {"an appearance", "Appearance { material Shape { geometry Box { } } } Shape { }", "", 0},
        {"a square", faceSet(square, "0 1 2 3"), "(0 1 3)(1 2 3)", 4},
        {"a square from behind", faceSet(square, "0 1 2 3 -1", "ccw FALSE"), "(3 1 0)(3 2 1)", 4},
        {"a square and a triangle", faceSet(square + ", 2 2 2", "0 1 2 3 -1 -1 0 3 4 -1"), "(0 1 3)(1 2 3)(0 3 4)", 5},
        {"a triangle from behind", faceSet(square, "2 1 0", "ccw FALSE"), "(0 1 2)", 4},
        {"a triangle that has no size", faceSet("0 0 0, 1e20 0 0, 0 1e20 0", "0 1 2"), "", 3},
        {"no indexes", faceSet(square, ""), "", 4},
        {"one after the other", faceSet(square, "0 1 2") + faceSet(square, "0 1 2"), "(0 1 2)(4 5 6)", 8},
        {"one in two places", "DEF a Group { children " + faceSet(square, "0 1 2") + " } USE a ", "(0 1 2)(4 5 6)", 8},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        Mesh mesh;
        mesh.add(*sceneOf(each.nodes));
        CHECK(mesh.shownTriangles() == each.triangles);
        CHECK(mesh.vertices.size() == each.vertices);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "transforms move, turn and scale what is in them, in their order") {
    const std::string angle = "1.57079632679"; // a quarter
    const std::pair<std::string, std::string> cases[] = {
        {"translation 1 0 0", "2 2 3"},
        {"scale 2 3 -4", "2 6 -12"},
        {"rotation 0 0 1 " + angle, "-2 1 3"},
        {"rotation 0 0 9 -" + angle, "2 -1 3"},
        {"rotation 1 0 0 " + angle, "1 -3 2"},
        {"rotation 0 1 0 " + angle, "3 2 -1"},
        {"rotation 0 0 0 1", "1 2 3"},
        {"rotation 0 5 0 0", "1 2 3"},
        {"rotation 0 0 1 1e99", "1 2 3"},
        {"center 1 1 1 scale 2 2 2", "1 3 5"},
        {"scale 2 1 1 scaleOrientation 0 0 1 " + angle, "1 4 3"},
        {"quaternion 0 1 0 0", "1 2 3"},
        {"translation 10 0 0 center 1 0 0 rotation 0 0 1 " + angle + " scale 1 2 1", "7 0 3"},
        {"translation 10 0 0 children Transform { scale 2 2 2 children USE p } scale 1 1 2", "12 4 12"},
    };
    for (const auto& each : cases) {
        CAPTURE(each.first);
        const bool hasChildren = each.first.find("children") != std::string::npos;
        Mesh mesh;
        mesh.add(*sceneOf("DEF p " + faceSet("1 2 3", "") + " Transform { " + each.first +
                          (hasChildren ? "}" : " children USE p }")));
        REQUIRE(mesh.vertices.size() == 2);
        Math::Vec3f vertex = mesh.vertices[1];
        for (float* const number : {&vertex.mX, &vertex.mY, &vertex.mZ})
            *number = std::round(*number * 1e5f) / 1e5f + 0.0f;
        CHECK(shown(vertex) == each.second);
    }
    Mesh mesh;
    mesh.add(*sceneOf("Transform { translation 1 0 0 children Shape { geometry Box { size 2 4 6 } } }"));
    std::string corners;
    for (const Math::Vec3f& vertex : mesh.vertices)
        corners += shown(vertex) + ", ";
    CHECK(corners == "0 -2 3, 2 -2 3, 2 -2 -3, 0 -2 -3, 0 2 3, 2 2 3, 2 2 -3, 0 2 -3, ");
    Mesh endless;
    endless.add(*sceneOf("Shape { geometry Box { size 1e99 1 2 } }"));
    CHECK(shown(endless.vertices[0]) == "-inf -0.5 1");
}

TEST_CASE_FIXTURE(LibraryTest, "polygons are split as the geometry's function does it") {
    std::mt19937 random(3);
    const auto coordinate = [&random] { return std::to_string(static_cast<int>(random() % 100) - 50); };
    for (int round = 0; round < 200; ++round) {
        std::string points;
        for (int point = 0; point < 12; ++point)
            points += coordinate() + " " + coordinate() + " " + coordinate() + ", ";
        Container::Vector<uint32> polygon(allocator());
        std::string indexes;
        for (auto left = 3 + random() % 10; left != 0; --left) {
            polygon.push_back(static_cast<uint32>(random() % 12));
            indexes += std::to_string(polygon.back()) + " ";
        }
        const Scene root = sceneOf(faceSet(points, indexes));
        Mesh mesh;
        mesh.add(*root);
        Container::Vector<uint32> expected(allocator());
        Geom::Utility::TriangulatePolygon(expected, polygon, mesh.vertices);
        REQUIRE(mesh.triangles.size() == polygon.size() - 2);
        REQUIRE(std::equal(expected.begin(), expected.end(), &mesh.triangles[0].mA));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what a face set lacks is asserted, and adds nothing") {
    Mesh mesh;
    {
        const ExpectedAssertion noPoints(
            "node->mCoord\nError Message: need coordinate set in indexed face set for import",
            "common/parser/vrml2/internal/meshbuilder");
        mesh.add(*sceneOf("Shape { geometry IndexedFaceSet { coordIndex [ 0 1 2 ] } }"));
    }
    const AssertionRecorder recorder;
    mesh.add(*sceneOf(faceSet("0 0 0", "0 0 -1 -1 0")));
    CHECK(recorder.getSeen().size() == 2);
    CHECK(mesh.shownSize() == "1/0");
}

TEST_CASE_FIXTURE(LibraryTest, "a mesh has a limit, whatever stands for how much") {
    const std::string box = "Shape { geometry Box { } }";
    const Scene scene = sceneOf(doubled(3, box)); // 15 boxes
    Mesh mesh;
    const auto outcome = [&](const VRML2::SceneNode& root, const VRML2::MeshLimits& limits) {
        return failureOr([&] {
            mesh.add(root, limits);
            return mesh.shownSize();
        });
    };
    const std::string tooMuch = "ArgumentOutOfRangeException: VRML2::MeshGen: The mesh takes more than ";
    CHECK(outcome(*scene, {.triangles = 179}) == tooMuch + "179 triangles");
    CHECK(outcome(*scene, {.vertices = 119}) == tooMuch + "119 vertices");
    CHECK(outcome(*scene, {.steps = 1000}) == tooMuch + "1000 steps");
    CHECK(mesh.shownSize() == "0/0");
    CHECK(outcome(*scene, {.triangles = 180, .vertices = 120}) == "120/180");
    CHECK(outcome(*scene, {.triangles = 180, .vertices = 120}) == "240/360");
    CHECK(outcome(*sceneOf(doubled(250, box)), {}) == tooMuch + "100000000 triangles");
    CHECK(outcome(*sceneOf(doubled(250, "[ ]")), {}) == tooMuch + "100000000000 steps");
    std::string circle;
    for (int corner = 0; corner < 9000; ++corner)
        circle += "0 ";
    CHECK(outcome(*sceneOf(faceSet("0 0 0", circle)), {}) == tooMuch + "100000000000 steps");
    CHECK(mesh.shownSize() == "240/360");
    CHECK(failureOr([&] {
              VRML2::MeshGen::createMesh(mesh.vertices, mesh.triangles, nullptr);
              return std::string();
          }) == "ArgumentNullException: VRML2::MeshGen: root node cannot be NULL");
}

TEST_CASE_FIXTURE(LibraryTest, "nothing is left, whichever allocation fails") {
    MemoryFileSystem files;
    files.add("main.wrl", cHeader + "DEF a Group { children [ DEF b Shape { appearance Appearance { } geometry DEF c " +
                              "Box { } } USE b ] } Light { } Switch { choice [ USE a ] } Inline { url [ \"b.wrl\" ] }" +
                              faceSet("0 0 0, 1 0 0, 1 1 0, 0 1 1.234567890123456789", "0 1 2 3 -1 0 1 2"));
    files.add("b.wrl", cHeader + "Transform { children Shape { geometry Box { } } }");
    const CountingMemoryPtr memory(new CountingMemory);
    const Memory::AllocatorPtr source(::new (memory->allocate(sizeof(Callback::CallbackAllocator)))
                                          Callback::CallbackAllocator("", memory));
    std::string outcome;
    int64 granted = 0;
    for (; outcome != "28/39"; ++granted) {
        CAPTURE(granted);
        memory->failAfter(granted);
        outcome = failureOr([&] {
            const std::unique_ptr<VRML2::Parser> parser(new (source) VRML2::Parser);
            parser->setSkipUnknownNodes(true);
            Container::Vector<Math::Vec3f> vertices(source);
            Container::Vector<Geom::IndexedTriangle> triangles(source);
            const Scene root(parser->parse("main.wrl", &files));
            VRML2::MeshGen::createMesh(vertices, triangles, root.get());
            return std::to_string(vertices.size()) + "/" + std::to_string(triangles.size());
        });
        REQUIRE((outcome == "28/39" || outcome == "OutOfMemoryException: No Memory available"));
        REQUIRE(memory->getBlocks() == 1);
    }
    CHECK(granted > 50);
}
