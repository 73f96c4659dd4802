#include "common/parser/vrml2/coordinateprop.h"

#include "common/parser/vrml2/parser.h"

namespace Tarq::Common::Parser::VRML2 {

CoordinateProp::CoordinateProp() : GeometricProperty(PROPERTY_COORDINATE), mPoints(getAllocator()) {}

CoordinateProp::~CoordinateProp() = default;

void CoordinateProp::parse(Parser& parser) {
    const Member members[] = {{"point", FIELD_MFVEC3F, &mPoints}};
    parser.parseMembers(members);
}

GeometricProperty* CoordinateProp::createNode(const Memory::AllocatorPtr& allocator) const {
    return new (allocator) CoordinateProp;
}

const char* CoordinateProp::getNodeName() const {
    return "Coordinate";
}

} // namespace Tarq::Common::Parser::VRML2
