#pragma once

#include "common/parser/vrml2/scenenode.h"

namespace Tarq::Common::Parser::VRML2 {

/// How a shape looks: whatever nodes the host has for that. Each is null when the file tells none.
class TARQ_API AppearanceNode : public SceneNode {
public:
    AppearanceNode();
    ~AppearanceNode() override;

    void parse(Parser& parser) override;
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    SceneNode* getMaterial() const noexcept { return mMaterial.get(); }
    SceneNode* getTexture() const noexcept { return mTexture.get(); }
    SceneNode* getTextureTransform() const noexcept { return mTextureTransform.get(); }

private:
    SceneNodePtr mMaterial;
    SceneNodePtr mTexture;
    SceneNodePtr mTextureTransform;
};

} // namespace Tarq::Common::Parser::VRML2
