#pragma once

#include "common/math/vec3.h"
#include "common/parser/vrml2/scenenode.h"

namespace Tarq::Common::Parser::VRML2 {

/// Base of what has children. Those of groups, transforms and inline files show; those of a host's own class do not.
class TARQ_API GroupingNode : public SceneNode {
public:
    ~GroupingNode() override;

    /// None of them is null.
    const SceneNodes& getChildren() const noexcept { return mChildren; }
    const Math::Vec3f& getBBoxCenter() const noexcept { return mBBoxCenter; }
    /// -1 -1 -1 unless the file tells it. Nothing checks it.
    const Math::Vec3f& getBBoxSize() const noexcept { return mBBoxSize; }

protected:
    explicit GroupingNode(uint16 nodeType);

    /// A null child is ignored.
    void addChild(const SceneNodePtr& child);

    SceneNodes mChildren;
    Math::Vec3f mBBoxCenter;
    Math::Vec3f mBBoxSize{-1, -1, -1};

private:
    friend class Parser;
};

} // namespace Tarq::Common::Parser::VRML2
