#include "common/parser/vrml2/geometrynode.h"

namespace Tarq::Common::Parser::VRML2 {

GeometryNode::GeometryNode(uint8 nodeType) : mNodeType(nodeType) {}

GeometryNode::~GeometryNode() = default;

} // namespace Tarq::Common::Parser::VRML2
