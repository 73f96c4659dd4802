#pragma once

#include "common/export.h"
#include "common/types.h"

#include <compare>

namespace Tarq::Common::Platform {

/// A count of milliseconds in 32 bits: it wraps after 49.7 days. Compare two of them by their difference.
struct MilliSeconds {
    uint32 mCount = 0;

    friend constexpr bool operator==(MilliSeconds, MilliSeconds) = default;
    /// The time from `earlier` to `later`, also across one wrap.
    friend constexpr MilliSeconds operator-(MilliSeconds later, MilliSeconds earlier) noexcept {
        return {later.mCount - earlier.mCount};
    }
};

/// A count of microseconds in 64 bits.
struct MicroSeconds {
    uint64 mCount = 0;

    friend constexpr auto operator<=>(MicroSeconds, MicroSeconds) = default;
    friend constexpr MicroSeconds operator-(MicroSeconds later, MicroSeconds earlier) noexcept {
        return {later.mCount - earlier.mCount};
    }
};

/// The clocks. Both that run are monotonic: they do not jump when the date is set. They may stand still while the
/// machine is suspended. Threads: any.
class TARQ_API Time {
public:
    /// Elapsed time since the library was loaded, which for a host that is linked to it is the start of the process.
    static MilliSeconds getWallTime() noexcept;
    /// The same in finer steps.
    static MicroSeconds getPerformanceCount() noexcept;
    /// The wall time as of the last tick of the system's timer, which may be some milliseconds ago: for those who ask
    /// often.
    static MilliSeconds getCoarseWallTime() noexcept;
    /// There is no calendar here: 0.
    static MilliSeconds getGMTTime() noexcept;
    /// There is no calendar here: 0.
    static MilliSeconds getLocalTime() noexcept;
};

} // namespace Tarq::Common::Platform
