#include "common/parser/vrml2/transformnode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

TransformNode::TransformNode() : GroupingNode(NODE_TRANSFORM) {}

TransformNode::~TransformNode() = default;

void TransformNode::parse(Parser& parser) {
    const Member members[] = {
        {"center", FIELD_SFVEC3F, &mCenter},
        {"children", FIELD_MFNODE_SCENE, &mChildren},
        {"rotation", FIELD_SFROTATION, &mRotation},
        {"quaternion", FIELD_QUATERNION, &mQuaternion},
        {"scale", FIELD_SFVEC3F, &mScale},
        {"scaleOrientation", FIELD_SFROTATION, &mScaleOrientation},
        {"translation", FIELD_SFVEC3F, &mTranslation},
        {"bboxCenter", FIELD_SFVEC3F, &mBBoxCenter},
        {"bboxSize", FIELD_SFVEC3F, &mBBoxSize},
    };
    parser.parseMembers(members);
    adopt(mChildren);
}

SceneNode* TransformNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) TransformNode;
}

const char* TransformNode::getNodeName() const {
    return "Transform";
}

} // namespace Tarq::Common::Parser::VRML2
