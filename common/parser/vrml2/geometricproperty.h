#pragma once

#include "common/parser/vrml2/nodeparsable.h"
#include "common/types.h"

namespace Tarq::Common::Parser::VRML2 {

/// What a `GeometryNode` refers to: its points, for example.
class TARQ_API GeometricProperty : public NodeParsable<GeometricProperty> {
public:
    ~GeometricProperty() override;

    /// That of the built-in class is `PROPERTY_COORDINATE`.
    uint8 getNodeType() const noexcept { return mNodeType; }

protected:
    explicit GeometricProperty(uint8 nodeType);

private:
    uint8 mNodeType;
};

enum GeometricPropertyType : uint8 {
    PROPERTY_COORDINATE = 1,
};

} // namespace Tarq::Common::Parser::VRML2
