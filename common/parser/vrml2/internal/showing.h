#pragma once

#include "common/parser/vrml2/boxnode.h"
#include "common/parser/vrml2/groupnode.h"
#include "common/parser/vrml2/indexedfacesetnode.h"
#include "common/parser/vrml2/inlinenode.h"
#include "common/parser/vrml2/shapenode.h"
#include "common/parser/vrml2/transformnode.h"

namespace Tarq::Common::Parser::VRML2 {

// The nodes that meshes are made of. A node is known by its number, and by its class as well, as hosts number theirs as
// they like. Null: it is none of that kind.

/// What shows its children.
inline const GroupingNode* asGroup(const SceneNode& node) noexcept {
    switch (node.getNodeType()) {
    case NODE_GROUP:
        return dynamic_cast<const GroupNode*>(&node);
    case NODE_INLINE:
        return dynamic_cast<const InlineNode*>(&node);
    case NODE_TRANSFORM:
        return dynamic_cast<const TransformNode*>(&node);
    default:
        return nullptr;
    }
}

/// Of what `asGroup` returns, the kind that has coordinates of its own.
inline const TransformNode* asTransform(const GroupingNode& node) noexcept {
    return node.getNodeType() == NODE_TRANSFORM ? static_cast<const TransformNode*>(&node) : nullptr;
}

inline const ShapeNode* asShape(const SceneNode& node) noexcept {
    return node.getNodeType() == NODE_SHAPE ? dynamic_cast<const ShapeNode*>(&node) : nullptr;
}

inline const BoxNode* asBox(const GeometryNode& geometry) noexcept {
    return geometry.getNodeType() == GEOMETRY_BOX ? dynamic_cast<const BoxNode*>(&geometry) : nullptr;
}

inline const IndexedFaceSetNode* asFaces(const GeometryNode& geometry) noexcept {
    return geometry.getNodeType() == GEOMETRY_INDEXEDFACESET ? dynamic_cast<const IndexedFaceSetNode*>(&geometry)
                                                             : nullptr;
}

} // namespace Tarq::Common::Parser::VRML2
