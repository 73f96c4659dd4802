#include "common/platform/clock.h"

#include <ctime>

namespace Tarq::Common::Platform {

namespace {

uint64 readClock() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64>(now.tv_sec) * 1000000000u + static_cast<uint64>(now.tv_nsec);
}

/// Read while the library is loaded.
const uint64 gStart = readClock();

} // namespace

uint64 getMonotonicNanoseconds() noexcept {
    return readClock() - gStart;
}

} // namespace Tarq::Common::Platform
