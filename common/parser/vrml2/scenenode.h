#pragma once

#include "common/parser/vrml2/nodeparsable.h"
#include "common/types.h"

namespace Tarq::Common::Parser::VRML2 {

/// A node that has a place in the scene, below its parent.
///
/// A host's own kinds of nodes derive from this and are made known by `Parser::registerSceneNode`. What a class has
/// below it, it adopts when that has been read, and disowns in its destructor.
class TARQ_API SceneNode : public NodeParsable<SceneNode> {
public:
    ~SceneNode() override;

    /// A number of the class's choice. Those of the built-in ones are `NODE_GROUP` and so on.
    uint16 getNodeType() const noexcept { return mNodeType; }
    /// The node that has this one in a field; of several, the one that was read last. Null for the root of a scene, and
    /// when the parent is gone.
    SceneNode* getParent() const noexcept { return mParent; }

protected:
    explicit SceneNode(uint16 nodeType);

    /// Makes this node the parent. A null child is ignored, here and there.
    void adopt(const SceneNodePtr& child) noexcept;
    void adopt(const SceneNodes& children) noexcept;
    /// Makes sure that this node is not the parent any more.
    void disown(const SceneNodePtr& child) noexcept;
    void disown(const SceneNodes& children) noexcept;

private:
    uint16 mNodeType;
    SceneNode* mParent = nullptr;
};

enum SceneNodeType : uint16 {
    NODE_APPEARANCE = 1,
    NODE_GROUP = 10,
    NODE_INLINE = 12,
    NODE_SHAPE = 25,
    NODE_SWITCH = 29,
    NODE_TRANSFORM = 33,
};

} // namespace Tarq::Common::Parser::VRML2
