#include "common/platform/time.h"

#include "common/platform/clock.h"

namespace Tarq::Common::Platform {

MilliSeconds Time::getWallTime() noexcept {
    return {static_cast<uint32>(getMonotonicNanoseconds() / 1000000)};
}

MilliSeconds Time::getCoarseWallTime() noexcept {
    return {static_cast<uint32>(getCoarseMonotonicNanoseconds() / 1000000)};
}

MicroSeconds Time::getPerformanceCount() noexcept {
    return {getMonotonicNanoseconds() / 1000};
}

MilliSeconds Time::getGMTTime() noexcept {
    return {};
}

MilliSeconds Time::getLocalTime() noexcept {
    return {};
}

} // namespace Tarq::Common::Platform
