#include "common/parser/vrml2/internal/meshbuilder.h"

#include "common/debug/assert.h"
#include "common/geom/geomutility.h"
#include "common/parser/vrml2/internal/showing.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tarq::Common::Parser::VRML2 {

void MeshBuilder::add(const SceneNode& node, const Affine& transform) {
    if (const ShapeNode* const shape = asShape(node)) {
        if (shape->getGeometry())
            addGeometry(*shape->getGeometry(), transform);
        return;
    }
    const GroupingNode* const group = asGroup(node);
    if (!group)
        return;
    const TransformNode* const transformNode = asTransform(*group);
    const Affine inner = transformNode ? transform * Affine::makeFrom(*transformNode) : transform;
    for (const SceneNodePtr& child : group->getChildren())
        add(*child, inner);
}

void MeshBuilder::addGeometry(const GeometryNode& geometry, const Affine& transform) {
    if (const BoxNode* const box = asBox(geometry))
        addBox(*box, transform);
    else if (const IndexedFaceSetNode* const faces = asFaces(geometry))
        addFaces(*faces, transform);
    else
        TARQ_FAIL("no conversion routine for geometry of type: ", geometry.getNodeType());
}

void MeshBuilder::addBox(const BoxNode& box, const Affine& transform) {
    static constexpr uint32 cTriangles[12][3] = {{0, 1, 5}, {0, 5, 4}, {3, 0, 4}, {3, 4, 7}, {2, 3, 7}, {2, 7, 6},
                                                 {1, 2, 6}, {1, 6, 5}, {4, 5, 6}, {4, 6, 7}, {3, 2, 1}, {3, 1, 0}};
    const auto [x, y, z] = box.getSize() / 2.0f;
    const uint32 firstVertex = mVertices.size();
    // A product of zero and an infinite size would be no number.
    const bool isMoved = transform != Affine();
    for (const Math::Vec3f& corner : {Math::Vec3f{-x, -y, z},
                                      {x, -y, z},
                                      {x, -y, -z},
                                      {-x, -y, -z}, //
                                      Math::Vec3f{-x, y, z},
                                      {x, y, z},
                                      {x, y, -z},
                                      {-x, y, -z}})
        mVertices.push_back(isMoved ? transform.apply(corner) : corner);
    for (const auto& [a, b, c] : cTriangles)
        mTriangles.push_back({firstVertex + a, firstVertex + b, firstVertex + c});
}

void MeshBuilder::addFaces(const IndexedFaceSetNode& node, const Affine& transform) {
    const CoordinateProp* const coord = node.getCoord();
    if (!TARQ_ASSERT_AS("node->mCoord", coord, "need coordinate set in indexed face set for import"))
        return;
    const uint32 firstVertex = mVertices.size();
    const bool areOrdinary = addPoints(coord->getPoints(), transform);
    const int32* const end = node.getCoordIndex().end();
    for (const int32* at = node.getCoordIndex().begin(); at != end;) {
        const int32* const polygonEnd = std::find(at, end, -1);
        addPolygon(at, polygonEnd, node, areOrdinary, firstVertex);
        at = polygonEnd + (polygonEnd != end ? 1 : 0);
    }
}

bool MeshBuilder::addPoints(const Vertices& points, const Affine& transform) {
    // The square of a difference of such coordinates is a finite float, and so is the sum of three of them.
    static constexpr float cMostOrdinary = 1e18f;
    const uint32 firstVertex = mVertices.size();
    mVertices.insert(mVertices.end(), points.begin(), points.end());
    bool areOrdinary = true;
    for (const Math::Vec3f& point : points) {
        const bool isOrdinary = std::abs(point.mX) <= cMostOrdinary && std::abs(point.mY) <= cMostOrdinary &&
                                std::abs(point.mZ) <= cMostOrdinary;
        areOrdinary = areOrdinary && isOrdinary;
    }
    if (transform != Affine()) {
        for (Math::Vec3f* vertex = mVertices.begin() + firstVertex; vertex != mVertices.end(); ++vertex)
            *vertex = transform.apply(*vertex);
    }
    return areOrdinary;
}

void MeshBuilder::addPolygon(const int32* begin, const int32* end, const IndexedFaceSetNode& faces, bool areOrdinary,
                             uint32 firstVertex) {
    const auto corner = [](int32 index) { return static_cast<uint32>(index); };
    if (end - begin == 3 && areOrdinary) {
        // There is one way to split it.
        addTriangle(corner(begin[0]), corner(begin[1]), corner(begin[2]), faces, firstVertex);
    } else if (begin != end) {
        mPolygon.clear();
        for (const int32* at = begin; at != end; ++at)
            mPolygon.push_back(corner(*at));
        mCorners.clear();
        Geom::Utility::TriangulatePolygon(mCorners, mPolygon, faces.getCoord()->getPoints());
        for (uint32 at = 0; at != mCorners.size(); at += 3)
            addTriangle(mCorners[at], mCorners[at + 1], mCorners[at + 2], faces, firstVertex);
    }
}

inline void MeshBuilder::addTriangle(uint32 first, uint32 second, uint32 third, const IndexedFaceSetNode& faces,
                                     uint32 firstVertex) {
    if (!faces.isCounterClockwise())
        std::swap(first, third);
    mTriangles.push_back({firstVertex + first, firstVertex + second, firstVertex + third});
}

} // namespace Tarq::Common::Parser::VRML2
