#pragma once

#include "common/types.h"

#include <algorithm>

namespace Tarq::Tool {

/// How long to wait between attempts to connect: each time twice as long, up to a limit.
class RetryPause {
public:
    /// In milliseconds, `0 < first <= longest`.
    constexpr RetryPause(Common::uint32 first, Common::uint32 longest) noexcept
        : mFirst(first), mLongest(longest), mNext(first) {}

    /// The pause after one more failure.
    constexpr Common::uint32 take() noexcept {
        const Common::uint32 pause = mNext;
        mNext = static_cast<Common::uint32>(std::min<Common::uint64>(Common::uint64{mNext} * 2, mLongest));
        return pause;
    }
    /// After a success.
    constexpr void reset() noexcept { mNext = mFirst; }

private:
    Common::uint32 mFirst;
    Common::uint32 mLongest;
    Common::uint32 mNext;
};

} // namespace Tarq::Tool
