#pragma once

#include "common/container/vector.h"
#include "common/geom/indexedtriangle.h"
#include "common/math/vec3.h"
#include "common/parser/vrml2/internal/affine.h"
#include "common/types.h"

namespace Tarq::Common::Parser::VRML2 {

class BoxNode;
class GeometryNode;
class IndexedFaceSetNode;
class SceneNode;

/// Appends what a scene shows to a mesh, which has room for it.
class MeshBuilder {
public:
    using Vertices = Container::Vector<Math::Vec3f>;
    using Triangles = Container::Vector<Geom::IndexedTriangle>;

    MeshBuilder(Vertices& vertices, Triangles& triangles) noexcept
        : mVertices(vertices), mTriangles(triangles), mPolygon(vertices.getAllocator()),
          mCorners(vertices.getAllocator()) {}

    void add(const SceneNode& node, const Affine& transform);

private:
    void addGeometry(const GeometryNode& geometry, const Affine& transform);
    void addBox(const BoxNode& box, const Affine& transform);
    void addFaces(const IndexedFaceSetNode& node, const Affine& transform);
    /// Appends the points where they are, and returns whether all of them are ordinary: of such a size that the sides
    /// of each triangle between them have a finite length.
    bool addPoints(const Vertices& points, const Affine& transform);
    void addPolygon(const int32* begin, const int32* end, const IndexedFaceSetNode& faces, bool areOrdinary,
                    uint32 firstVertex);
    void addTriangle(uint32 first, uint32 second, uint32 third, const IndexedFaceSetNode& faces, uint32 firstVertex);

    Vertices& mVertices;
    Triangles& mTriangles;
    Container::Vector<uint32> mPolygon; ///< one at a time
    Container::Vector<uint32> mCorners; ///< of its triangles
};

} // namespace Tarq::Common::Parser::VRML2
