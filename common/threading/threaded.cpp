#include "common/threading/threaded.h"

namespace Tarq::Common::Threading {

Threaded::~Threaded() = default;

} // namespace Tarq::Common::Threading
