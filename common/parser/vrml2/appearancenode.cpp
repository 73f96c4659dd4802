#include "common/parser/vrml2/appearancenode.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

AppearanceNode::AppearanceNode() : SceneNode(NODE_APPEARANCE) {}

AppearanceNode::~AppearanceNode() {
    disown(mMaterial);
    disown(mTexture);
    disown(mTextureTransform);
}

void AppearanceNode::parse(Parser& parser) {
    const Member members[] = {
        {"material", FIELD_SFNODE_SCENE, &mMaterial},
        {"texture", FIELD_SFNODE_SCENE, &mTexture},
        {"textureTransform", FIELD_SFNODE_SCENE, &mTextureTransform},
    };
    parser.parseMembers(members);
    adopt(mMaterial);
    adopt(mTexture);
    adopt(mTextureTransform);
}

SceneNode* AppearanceNode::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) AppearanceNode;
}

const char* AppearanceNode::getNodeName() const {
    return "Appearance";
}

} // namespace Tarq::Common::Parser::VRML2
