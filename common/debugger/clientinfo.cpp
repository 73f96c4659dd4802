#include "common/debugger/clientinfo.h"

namespace Tarq::Common::Debugger {

ClientInfo::~ClientInfo() = default;

} // namespace Tarq::Common::Debugger
