#pragma once

#include "common/types.h"

namespace Tarq::Common::Platform {

/// Elapsed monotonic time since the library was loaded into the process, in nanoseconds.
uint64 getMonotonicNanoseconds() noexcept;

} // namespace Tarq::Common::Platform
