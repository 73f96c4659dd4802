#pragma once

#include "common/parser/vrml2/geometrynode.h"
#include "common/parser/vrml2/scenenode.h"

namespace Tarq::Common::Parser::VRML2 {

/// What can be seen.
class TARQ_API ShapeNode : public SceneNode {
public:
    ShapeNode();
    ~ShapeNode() override;

    void parse(Parser& parser) override;
    SceneNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    /// Null when the file tells none, and when it was skipped.
    SceneNode* getAppearance() const noexcept { return mAppearance.get(); }
    /// The same.
    GeometryNode* getGeometry() const noexcept { return mGeometry.get(); }

private:
    SceneNodePtr mAppearance;
    GeometryNodePtr mGeometry;
};

} // namespace Tarq::Common::Parser::VRML2
