#pragma once

#include "common/types.h"

namespace Tarq::Common::Platform {

/// Elapsed monotonic time since the library was loaded into the process, in nanoseconds.
uint64 getMonotonicNanoseconds() noexcept;
/// The same as of the last tick of the system's timer: some milliseconds late, and a fraction of the cost.
uint64 getCoarseMonotonicNanoseconds() noexcept;

} // namespace Tarq::Common::Platform
