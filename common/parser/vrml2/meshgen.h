#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/geom/indexedtriangle.h"
#include "common/math/vec3.h"
#include "common/types.h"

namespace Tarq::Common::Parser::VRML2 {

class SceneNode;

/// How large a mesh may become: "USE" lets a small file stand for a mesh of any size.
struct MeshLimits {
    uint32 triangles = 100'000'000;
    uint32 vertices = 100'000'000;
    /// Work: 1000 for each time that a node is come to, 1 for each index of a face set, and for a polygon of n > 3
    /// corners a sixth of the third power of n.
    uint64 steps = 100'000'000'000;
};

/// Makes one triangle mesh of all that a scene shows, in the coordinates of its root.
///
/// Groups and inline files show all their children, transforms the same in coordinates of their own; shapes show their
/// geometry, if they have one. All other nodes, switches among them, show nothing, nor does what is below them. What a
/// node is goes by its number and its class: one that has the number of a group shows nothing unless it derives from
/// `GroupNode`, and neither does one that derives from `GroupingNode` and has a number of its own.
///
/// Box: eight vertices and twelve triangles. Face set: a vertex for each point of its coordinates, and the triangles of
/// `Geom::Utility::TriangulatePolygon` for each polygon, with its assertions for polygons of one or two corners; those
/// of none are left out. Asserts "need coordinate set in indexed face set for import" and "no conversion routine for
/// geometry of type: ..."; such a geometry adds nothing.
///
/// Threads: any, several at once on one scene.
class TARQ_API MeshGen {
public:
    /// Appends the scene's vertices and triangles. The indexes of triangles count from the start of `vertices`.
    ///
    /// Throws `ArgumentNullException` without a root, and `ArgumentOutOfRangeException`, before any of the work is
    /// done, for a scene beyond the limits, which count what is appended. Throws what lists throw that cannot grow.
    /// Both lists are as before then.
    static void createMesh(Container::Vector<Math::Vec3<float>>& vertices,
                           Container::Vector<Geom::IndexedTriangle>& triangles, const SceneNode* root);
    static void createMesh(Container::Vector<Math::Vec3<float>>& vertices,
                           Container::Vector<Geom::IndexedTriangle>& triangles, const SceneNode* root,
                           const MeshLimits& limits);
};

} // namespace Tarq::Common::Parser::VRML2
