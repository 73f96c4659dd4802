#include "common/parser/vrml2/groupnode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

GroupNode::GroupNode() : GroupingNode(NODE_GROUP) {}

GroupNode::~GroupNode() = default;

void GroupNode::parse(Parser& parser) {
    const Member members[] = {
        {"children", FIELD_MFNODE_SCENE, &mChildren},
        {"bboxCenter", FIELD_SFVEC3F, &mBBoxCenter},
        {"bboxSize", FIELD_SFVEC3F, &mBBoxSize},
    };
    parser.parseMembers(members);
    adopt(mChildren);
}

SceneNode* GroupNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) GroupNode;
}

const char* GroupNode::getNodeName() const {
    return "Group";
}

} // namespace Tarq::Common::Parser::VRML2
