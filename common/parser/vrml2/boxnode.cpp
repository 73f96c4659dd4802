#include "common/parser/vrml2/boxnode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

BoxNode::BoxNode() : GeometryNode(GEOMETRY_BOX) {}

BoxNode::~BoxNode() = default;

void BoxNode::parse(Parser& parser) {
    const Member members[] = {{"size", FIELD_SFVEC3F, &mSize}};
    parser.parseMembers(members);
    if (mSize.mX <= 0 || mSize.mY <= 0 || mSize.mZ <= 0)
        parser.fail("all components of the boxsize must have positive values");
}

GeometryNode* BoxNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) BoxNode;
}

const char* BoxNode::getNodeName() const {
    return "Box";
}

} // namespace Tarq::Common::Parser::VRML2
