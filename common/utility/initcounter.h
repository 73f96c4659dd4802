#pragma once

#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common {

/// Counts how often something was initialised, and checks at its end that all of that was undone.
///
/// Threads: one at a time.
class TARQ_API InitCounter {
public:
    /// `name` keeps its first 27 characters; null is the empty name.
    explicit constexpr InitCounter(const char* name) noexcept {
        for (uint32 at = 0; name && name[at] != '\0' && at < sizeof(mName) - 1; ++at)
            mName[at] = name[at];
    }
    /// Asserts that the count is 0.
    ~InitCounter();
    InitCounter(const InitCounter&) = delete;
    InitCounter& operator=(const InitCounter&) = delete;

    /// Returns true for the first initialisation.
    bool init() noexcept;
    /// Returns true when the last initialisation is undone. Asserts that there is one to undo; returns false otherwise.
    bool deinit();

    uint32 getInitCount() const noexcept { return mInitCount; }
    const char* getName() const noexcept { return mName; }

private:
    uint32 mInitCount = 0;
    char mName[28] = {};
};

} // namespace Tarq::Common
