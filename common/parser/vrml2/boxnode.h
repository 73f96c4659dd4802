#pragma once

#include "common/math/vec3.h"
#include "common/parser/vrml2/geometrynode.h"

namespace Tarq::Common::Parser::VRML2 {

/// A box around the origin, along the axes.
class TARQ_API BoxNode : public GeometryNode {
public:
    BoxNode();
    ~BoxNode() override;

    void parse(Parser& parser) override;
    GeometryNode* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    /// Each component is above 0.
    const Math::Vec3f& getSize() const noexcept { return mSize; }

private:
    Math::Vec3f mSize{2, 2, 2};
};

} // namespace Tarq::Common::Parser::VRML2
