#include "common/debugger/connectionlayer.h"

namespace Tarq::Common::Debugger {

ConnectionLayer::~ConnectionLayer() = default;

} // namespace Tarq::Common::Debugger
