#pragma once

#include "common/platform/time.h"
#include "common/types.h"

namespace Tarq::Tool {

/// Microseconds that only grow.
inline Common::uint64 getMicroseconds() noexcept {
    return Common::Platform::Time::getPerformanceCount().mCount;
}

} // namespace Tarq::Tool
