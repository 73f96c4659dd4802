#pragma once

#include "common/parser/vrml2/nodeparsable.h"
#include "common/types.h"

namespace Tarq::Common::Parser::VRML2 {

/// What a `ShapeNode` shows.
class TARQ_API GeometryNode : public NodeParsable<GeometryNode> {
public:
    ~GeometryNode() override;

    /// Those of the built-in classes are `GEOMETRY_BOX` and so on.
    uint8 getNodeType() const noexcept { return mNodeType; }

protected:
    explicit GeometryNode(uint8 nodeType);

private:
    uint8 mNodeType;
};

enum GeometryNodeType : uint8 {
    GEOMETRY_BOX = 0,
    GEOMETRY_INDEXEDFACESET = 5,
};

} // namespace Tarq::Common::Parser::VRML2
