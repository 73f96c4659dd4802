#include "common/parser/vrml2/shapenode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

ShapeNode::ShapeNode() : SceneNode(NODE_SHAPE) {}

ShapeNode::~ShapeNode() {
    disown(mAppearance);
}

void ShapeNode::parse(Parser& parser) {
    const Member members[] = {
        {"appearance", FIELD_SFNODE_SCENE, &mAppearance},
        {"geometry", FIELD_SFNODE_GEOMETRY, &mGeometry},
    };
    parser.parseMembers(members);
    adopt(mAppearance);
}

SceneNode* ShapeNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) ShapeNode;
}

const char* ShapeNode::getNodeName() const {
    return "Shape";
}

} // namespace Tarq::Common::Parser::VRML2
