#include "common/platform/clock.h"

#include <algorithm>
#include <ctime>

namespace Tarq::Common::Platform {

namespace {

uint64 readClock(clockid_t clock) noexcept {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<uint64>(now.tv_sec) * 1000000000u + static_cast<uint64>(now.tv_nsec);
}

/// Read while the library is loaded.
const uint64 gStart = readClock(CLOCK_MONOTONIC);

} // namespace

uint64 getMonotonicNanoseconds() noexcept {
    return readClock(CLOCK_MONOTONIC) - gStart;
}

uint64 getCoarseMonotonicNanoseconds() noexcept {
    // The last tick may have been before the start.
    return std::max(readClock(CLOCK_MONOTONIC_COARSE), gStart) - gStart;
}

} // namespace Tarq::Common::Platform
