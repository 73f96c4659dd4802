#include "common/parser/vrml2/internal/meshsize.h"

#include "common/parser/vrml2/internal/showing.h"

namespace Tarq::Common::Parser::VRML2 {

namespace {

/// More than a node takes: one that shows nothing may be come to more often than is of use to anybody.
constexpr uint64 cStepsOfNode = 1000;

/// A node that has one owner stands in one place.
template <class Node, class Measure>
MeshSize measureShared(Container::LookUp<const Node*, MeshSize>& known, const Node& node, Measure measure) {
    if (node.getReferenceCount() <= 1)
        return measure();
    const auto found = known.find(&node);
    return found != known.end() ? found->second : known.try_emplace(&node, measure()).first->second;
}

MeshSize sizeOfPolygon(uint64 corners) noexcept {
    // A list has less than 2^32 corners: the third power of those of one polygon may be more than there are numbers.
    const uint64 counted = std::min<uint64>(corners, 1'000'000);
    return {0, corners >= 3 ? corners - 2 : 0, corners > 3 ? counted * counted * counted / 6 : 0};
}

MeshSize sizeOf(const IndexedFaceSetNode& faces) noexcept {
    MeshSize size;
    const CoordinateProp* const coord = faces.getCoord();
    if (!coord)
        return size;
    size.vertices = coord->getPoints().size();
    size.steps = faces.getCoordIndex().size();
    uint64 corners = 0;
    for (const int32 index : faces.getCoordIndex()) {
        if (index != -1) {
            ++corners;
        } else {
            size += sizeOfPolygon(corners);
            corners = 0;
        }
    }
    return size += sizeOfPolygon(corners);
}

} // namespace

MeshSize MeshMeasure::measure(const SceneNode& node) {
    return measureShared(mSharedScenes, node, [&] { return measureOnce(node); });
}

MeshSize MeshMeasure::measureOnce(const SceneNode& node) {
    MeshSize size{0, 0, cStepsOfNode};
    if (const GroupingNode* const group = asGroup(node)) {
        for (const SceneNodePtr& child : group->getChildren())
            size += measure(*child);
    } else if (const ShapeNode* const shape = asShape(node); shape && shape->getGeometry()) {
        size += measure(*shape->getGeometry());
    }
    return size;
}

MeshSize MeshMeasure::measure(const GeometryNode& geometry) {
    if (asBox(geometry))
        return {8, 12, cStepsOfNode};
    const IndexedFaceSetNode* const faces = asFaces(geometry);
    return faces ? measureShared(mSharedGeometries, geometry, [faces] { return sizeOf(*faces); }) : MeshSize();
}

} // namespace Tarq::Common::Parser::VRML2
