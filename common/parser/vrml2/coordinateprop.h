#pragma once

#include "common/container/vector.h"
#include "common/math/vec3.h"
#include "common/parser/vrml2/geometricproperty.h"

namespace Tarq::Common::Parser::VRML2 {

/// The points of a geometry.
class TARQ_API CoordinateProp : public GeometricProperty {
public:
    CoordinateProp();
    ~CoordinateProp() override;

    void parse(Parser& parser) override;
    GeometricProperty* createNode(const Memory::AllocatorPtr& allocator) const override;
    const char* getNodeName() const override;

    const Container::Vector<Math::Vec3f>& getPoints() const noexcept { return mPoints; }

private:
    Container::Vector<Math::Vec3f> mPoints;
};

} // namespace Tarq::Common::Parser::VRML2
