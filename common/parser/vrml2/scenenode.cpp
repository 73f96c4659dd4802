#include "common/parser/vrml2/scenenode.h"

namespace Tarq::Common::Parser::VRML2 {

SceneNode::SceneNode(uint16 nodeType) : mNodeType(nodeType) {}

SceneNode::~SceneNode() = default;

void SceneNode::adopt(const SceneNodePtr& child) noexcept {
    if (child)
        child->mParent = this;
}

void SceneNode::adopt(const SceneNodes& children) noexcept {
    for (const SceneNodePtr& child : children)
        adopt(child);
}

void SceneNode::disown(const SceneNodePtr& child) noexcept {
    if (child && child->mParent == this)
        child->mParent = nullptr;
}

void SceneNode::disown(const SceneNodes& children) noexcept {
    for (const SceneNodePtr& child : children)
        disown(child);
}

} // namespace Tarq::Common::Parser::VRML2
