#include "common/parser/vrml2/geometricproperty.h"

namespace Tarq::Common::Parser::VRML2 {

GeometricProperty::GeometricProperty(uint8 nodeType) : mNodeType(nodeType) {}

GeometricProperty::~GeometricProperty() = default;

} // namespace Tarq::Common::Parser::VRML2
