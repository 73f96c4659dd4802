#pragma once

#include "common/types.h"

namespace Tarq::Common::Platform {

/// Elapsed monotonic time since the process started (since the library was loaded into it), in nanoseconds.
uint64 getMonotonicNanoseconds() noexcept;

} // namespace Tarq::Common::Platform
