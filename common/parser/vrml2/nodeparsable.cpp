#include "common/parser/vrml2/nodeparsable.h"

#include "common/parser/vrml2/geometricproperty.h"
#include "common/parser/vrml2/geometrynode.h"
#include "common/parser/vrml2/scenenode.h"

namespace Tarq::Common::Parser::VRML2 {

template class NodeParsable<SceneNode>;
template class NodeParsable<GeometryNode>;
template class NodeParsable<GeometricProperty>;

} // namespace Tarq::Common::Parser::VRML2
