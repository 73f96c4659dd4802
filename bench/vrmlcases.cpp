#include "bench/cases.h"
#include "common/library.h"
#include "common/parser/vrml2/meshgen.h"
#include "common/parser/vrml2/parser.h"
#include "common/parser/vrml2/scenenode.h"
#include "tests/support/memoryfilesystem.h"

#include <Inventor/SoDB.h>
#include <Inventor/SoInput.h>
#include <Inventor/SoPrimitiveVertex.h>
#include <Inventor/VRMLnodes/SoVRMLCoordinate.h>
#include <Inventor/VRMLnodes/SoVRMLGroup.h>
#include <Inventor/VRMLnodes/SoVRMLIndexedFaceSet.h>
#include <Inventor/actions/SoCallbackAction.h>

#include <cmath>
#include <cstdio>
#include <memory>

// Each side begins with the bytes of the file in memory, and ends when it has the mesh and its nodes are gone. The mesh
// is a list of vertices in the coordinates of the scene, and three indexes for each triangle.

namespace Tarq::Bench {

namespace {

using Common::int32;
using Common::Geom::IndexedTriangle;
using Common::Math::Vec3f;
using Common::Parser::VRML2::MeshGen;
using Common::Parser::VRML2::Parser;
using Common::Parser::VRML2::SceneNode;
using Triangles = Common::Container::Vector<IndexedTriangle>;
using Vertices = Common::Container::Vector<Vec3f>;

constinit const Common::Memory::AllocatorPtr cGlobalHeap;

/// 9 MB: a hilly country of 225 pieces next to each other. Each is a transform with one shape, an indexed face set of
/// 30 × 30 squares in two triangles each. Heights have three digits behind the point, places one.
struct Country {
    static constexpr int cPieces = 15; ///< each way
    static constexpr int cSide = 30;
    static constexpr uint32 cTriangles = 2 * cPieces * cPieces * cSide * cSide;
    static constexpr uint32 cVertices = cPieces * cPieces * (cSide + 1) * (cSide + 1);

    Country() {
        for (int z = 0; z < cPieces; ++z) {
            for (int x = 0; x < cPieces; ++x)
                addPiece(x * cSide, z * cSide);
        }
    }

    std::string mText = "#VRML V2.0 utf8\n";

private:
    void addPiece(int left, int top) {
        mText += "Transform {\n  translation " + std::to_string(left) + " 0 " + std::to_string(top);
        mText += "\n  children Shape {\n    geometry IndexedFaceSet {\n      coord Coordinate {\n        point [\n";
        for (int z = 0; z <= cSide; ++z) {
            for (int x = 0; x <= cSide; ++x) {
                const double height = 9 * std::sin((left + x) * 0.1) * std::cos((top + z) * 0.07);
                char point[64];
                std::snprintf(point, sizeof(point), "%.1f %.3f %.1f\n", x + 0.5, height, z + 0.5);
                mText += point;
            }
        }
        mText += "        ]\n      }\n      coordIndex [\n";
        for (int z = 0; z < cSide; ++z) {
            for (int x = 0; x < cSide; ++x) {
                const int corner = z * (cSide + 1) + x;
                addTriangle(corner, corner + cSide + 1, corner + cSide + 2);
                addTriangle(corner, corner + cSide + 2, corner + 1);
            }
        }
        mText += "      ]\n    }\n  }\n}\n";
    }
    void addTriangle(int a, int b, int c) {
        for (const int corner : {a, b, c})
            mText += std::to_string(corner) + ' ';
        mText += "-1\n";
    }
};

struct Mesh {
    Vertices vertices{cGlobalHeap};
    Triangles triangles{cGlobalHeap};
};

/// The scene, which is made once, and the mesh that everybody finds in it.
class Scene {
public:
    static const Scene& get() {
        static const Scene scene;
        return scene;
    }

    const std::string& text() const { return mText; }
    Mesh makeByOurs(Test::MemoryFileSystem& files) const {
        Parser parser;
        const std::unique_ptr<SceneNode> root(parser.parse("country.wrl", &files));
        Mesh mesh;
        MeshGen::createMesh(mesh.vertices, mesh.triangles, root.get());
        return mesh;
    }
    /// Places of triangles differ by what floats lose.
    void requireSame(const Mesh& mesh) const {
        static constexpr float cMostApart = 0.001f;
        check(mesh.triangles.size() == Country::cTriangles, "not all triangles");
        for (uint32 index = 0; index < Country::cTriangles; ++index) {
            for (uint32 corner = 0; corner < 3; ++corner) {
                const Vec3f apart =
                    mesh.vertices[mesh.triangles[index][corner]] - mMesh.vertices[mMesh.triangles[index][corner]];
                check(dot(apart, apart) < cMostApart * cMostApart, "another triangle");
            }
        }
    }

private:
    Scene() : mText(Country().mText) {
        Test::MemoryFileSystem files;
        files.add("country.wrl", mText);
        mMesh = makeByOurs(files);
        check(mMesh.vertices.size() == Country::cVertices && mMesh.triangles.size() == Country::cTriangles,
              "not the whole country");
    }

    std::string mText;
    Mesh mMesh;
};

void makeMeshByOurs(benchmark::State& state) {
    const Scene& scene = Scene::get();
    Test::MemoryFileSystem files;
    files.add("country.wrl", scene.text());
    Mesh mesh;
    for (auto _ : state)
        mesh = scene.makeByOurs(files);
    scene.requireSame(mesh);
}

Vec3f toVec3f(const SbVec3f& vector) {
    return {vector[0], vector[1], vector[2]};
}

/// Every triangle as Coin draws it, with vertices of its own.
void addTriangle(void* data, SoCallbackAction* action, const SoPrimitiveVertex* a, const SoPrimitiveVertex* b,
                 const SoPrimitiveVertex* c) {
    auto& mesh = *static_cast<Mesh*>(data);
    const uint32 first = mesh.vertices.size();
    for (const SoPrimitiveVertex* const vertex : {a, b, c}) {
        SbVec3f place;
        action->getModelMatrix().multVecMatrix(vertex->getPoint(), place);
        mesh.vertices.push_back(toVec3f(place));
    }
    mesh.triangles.push_back({first, first + 1, first + 2});
}

void addTriangles(SoCallbackAction& action, Mesh& mesh) {
    action.addTriangleCallback(SoVRMLIndexedFaceSet::getClassTypeId(), addTriangle, &mesh);
}

/// What only takes that all faces are triangles: Coin splits none.
SoCallbackAction::Response addFaces(void* data, SoCallbackAction* action, const SoNode* node) {
    auto& mesh = *static_cast<Mesh*>(data);
    const auto& faces = *static_cast<const SoVRMLIndexedFaceSet*>(node);
    const auto& coord = *static_cast<const SoVRMLCoordinate*>(faces.coord.getValue());
    const uint32 first = mesh.vertices.size();
    for (int index = 0; index < coord.point.getNum(); ++index) {
        SbVec3f place;
        action->getModelMatrix().multVecMatrix(coord.point.getValues(0)[index], place);
        mesh.vertices.push_back(toVec3f(place));
    }
    const int32* const indexes = faces.coordIndex.getValues(0);
    for (int at = 0; at + 3 <= faces.coordIndex.getNum(); at += 4) {
        const auto corner = [&](int number) { return first + static_cast<uint32>(indexes[at + number]); };
        mesh.triangles.push_back({corner(0), corner(1), corner(2)});
    }
    return SoCallbackAction::PRUNE;
}

void addArrays(SoCallbackAction& action, Mesh& mesh) {
    action.addPreCallback(SoVRMLIndexedFaceSet::getClassTypeId(), addFaces, &mesh);
}

template <auto AddCallbacks>
void makeMeshByPeer(benchmark::State& state) {
    [[maybe_unused]] static const bool isUp = (SoDB::init(), true);
    const Scene& scene = Scene::get();
    Mesh mesh;
    for (auto _ : state) {
        mesh = Mesh();
        SoInput input;
        input.setBuffer(scene.text().data(), scene.text().size());
        SoVRMLGroup* const root = SoDB::readAllVRML(&input);
        check(root, "the scene cannot be parsed");
        root->ref();
        {
            SoCallbackAction action;
            AddCallbacks(action, mesh);
            action.apply(root);
        }
        root->unref();
    }
    scene.requireSame(mesh);
}

} // namespace

std::vector<Case> vrmlCases() {
    return {
        {"vrml/scene-to-mesh",
         makeMeshByOurs,
         {{"Coin, triangle by triangle", 0.25, makeMeshByPeer<addTriangles>},
          {"Coin, arrays of its nodes", 0.25, makeMeshByPeer<addArrays>}}},
    };
}

} // namespace Tarq::Bench
