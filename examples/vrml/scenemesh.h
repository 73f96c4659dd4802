#pragma once

#include "support/errorreport.h"

#include "common/container/vector.h"
#include "common/interface.h"
#include "common/library.h"
#include "common/parser/vrml2/meshgen.h"
#include "common/parser/vrml2/scenenode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <string_view>

/// The triangles of a scene, ready to be written and drawn.
namespace scenemesh {

using namespace Tarq::Common;
using Geom::IndexedTriangle;
using Math::Vec3d;
using Math::Vec3f;

/// The corners of a triangle, in doubles: no operation on floats can overflow there.
using Corners = std::array<Vec3d, 3>;

struct Mesh {
    Container::Vector<Vec3f> vertices{Library::getTempAlloc()};
    Container::Vector<IndexedTriangle> triangles{Library::getTempAlloc()};
    /// Of all triangles; zero when there are none.
    Vec3d low;
    Vec3d high;

    Corners corners(const IndexedTriangle& triangle) const {
        const auto corner = [this](uint32 index) {
            const Vec3f& vertex = vertices[index];
            return Vec3d{vertex.mX, vertex.mY, vertex.mZ};
        };
        return {corner(triangle.mA), corner(triangle.mB), corner(triangle.mC)};
    }
};

/// Where the triangle is seen counter-clockwise; zero when it has no area.
inline Vec3d unitNormal(const Corners& corners) {
    const Vec3d normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    const double length = std::sqrt(dot(normal, normal));
    return length > 0 ? normal / length : Vec3d{};
}

/// Makes assertions notes, from its making to its end: what cannot be a part of a mesh does not keep the rest from it.
class Remarks {
public:
    Remarks() : mBefore(Interface::getAssertCallback()) {
        Interface::setAssertCallback(Callback::AssertCallbackPtr(new Counter(mCounts)));
    }
    ~Remarks() { Interface::setAssertCallback(mBefore); }
    Remarks(const Remarks&) = delete;
    Remarks& operator=(const Remarks&) = delete;

    void tell(std::string_view subject) const {
        for (const auto& [text, count] : mCounts)
            errorreport::note(subject, text + (count == 1 ? "" : " (" + std::to_string(count) + " times)"));
    }

private:
    using Counts = std::map<std::string, std::size_t>;

    class Counter : public Callback::AssertCallback {
    public:
        explicit Counter(Counts& counts) : mCounts(counts) {}
        void showAssert(const char* message, const char*, unsigned int) override {
            constexpr std::string_view cMark = "Error Message: ";
            const std::string_view text = message;
            const std::size_t mark = text.find(cMark);
            ++mCounts[std::string(mark == text.npos ? text : text.substr(mark + cMark.size()))];
        }

    private:
        Counts& mCounts;
    };

    Callback::AssertCallbackPtr mBefore;
    Counts mCounts;
};

inline bool isFinite(const Vec3f& vertex) {
    return std::isfinite(vertex.mX) && std::isfinite(vertex.mY) && std::isfinite(vertex.mZ);
}

/// Leaves out the triangles that are nowhere or have no area, and tells how many.
inline void dropTriangles(Mesh& mesh, std::string_view subject) {
    std::size_t infinite = 0;
    std::size_t flat = 0;
    const auto isDropped = [&](const IndexedTriangle& triangle) {
        const bool isSomewhere = isFinite(mesh.vertices[triangle.mA]) && isFinite(mesh.vertices[triangle.mB]) &&
                                 isFinite(mesh.vertices[triangle.mC]);
        const bool hasArea = isSomewhere && unitNormal(mesh.corners(triangle)) != Vec3d{};
        infinite += isSomewhere ? 0 : 1;
        flat += isSomewhere && !hasArea ? 1 : 0;
        return !hasArea;
    };
    const auto end = std::remove_if(mesh.triangles.begin(), mesh.triangles.end(), isDropped);
    mesh.triangles.erase(end, mesh.triangles.end());
    const auto tell = [subject](std::size_t count, const char* what) {
        if (count != 0)
            errorreport::note(subject, std::to_string(count) + what);
    };
    tell(infinite, infinite == 1 ? " triangle left out, its coordinates are not finite"
                                 : " triangles left out, their coordinates are not finite");
    tell(flat, flat == 1 ? " triangle left out, it has no area" : " triangles left out, they have no area");
}

/// Leaves out the vertices that are nowhere, which no triangle uses any more.
inline void dropVertices(Mesh& mesh) {
    if (std::all_of(mesh.vertices.begin(), mesh.vertices.end(), isFinite))
        return;
    Container::Vector<uint32> places(Library::getTempAlloc(), mesh.vertices.size());
    uint32 count = 0;
    for (uint32 index = 0; index < mesh.vertices.size(); ++index) {
        places[index] = count;
        if (isFinite(mesh.vertices[index]))
            mesh.vertices[count++] = mesh.vertices[index];
    }
    mesh.vertices.resize(count);
    for (IndexedTriangle& triangle : mesh.triangles)
        triangle = {places[triangle.mA], places[triangle.mB], places[triangle.mC]};
}

inline void measure(Mesh& mesh) {
    bool isFirst = true;
    for (const IndexedTriangle& triangle : mesh.triangles) {
        for (const Vec3d& corner : mesh.corners(triangle)) {
            for (uint32 axis = 0; axis < 3; ++axis) {
                mesh.low[axis] = isFirst ? corner[axis] : std::min(mesh.low[axis], corner[axis]);
                mesh.high[axis] = isFirst ? corner[axis] : std::max(mesh.high[axis], corner[axis]);
            }
            isFirst = false;
        }
    }
}

/// `limit`: of triangles. `subject`: whose mesh it is, for the notes about what it lacks.
inline Mesh build(const Parser::VRML2::SceneNode& root, uint32 limit, std::string_view subject) {
    Mesh mesh;
    Parser::VRML2::MeshLimits limits;
    limits.vertices = std::max(limits.vertices, limit);
    limits.triangles = limit;
    {
        const Remarks remarks;
        Parser::VRML2::MeshGen::createMesh(mesh.vertices, mesh.triangles, &root, limits);
        remarks.tell(subject);
    }
    dropTriangles(mesh, subject);
    dropVertices(mesh);
    measure(mesh);
    return mesh;
}

} // namespace scenemesh
