#pragma once

#include "common/export.h"
#include "common/types.h"

namespace Tarq::Common::Debugger {

/// Counts the calling thread as one that is inside a breakpoint, or in a read from a tool, while it lives: what it may
/// look at is not deleted then, and what waits for such threads is refused on it.
class InsideMark {
public:
    InsideMark() noexcept;
    ~InsideMark();
    InsideMark(const InsideMark&) = delete;
    InsideMark& operator=(const InsideMark&) = delete;

    /// Whether the calling thread is inside one.
    static bool isSet() noexcept { return tDepth != 0; }
    /// Waits until no thread is inside of one. The caller holds no lock that these may want.
    static void waitForNone() noexcept;

private:
    /// In the static block that every process sets aside for libraries loaded late: read without a call.
    [[gnu::tls_model("initial-exec")]] static inline thread_local constinit uint32 tDepth = 0;
};

} // namespace Tarq::Common::Debugger
