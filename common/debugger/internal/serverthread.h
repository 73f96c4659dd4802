#pragma once

#include "common/types.h"

namespace Tarq::Common::Debugger {

/// Marks the calling thread as one of the server's own while it lives: what waits for these is refused there.
class ServerThreadMark {
public:
    enum Work : uint8 {
        NOTHING,
        CALLS,    ///< runs the host's functions, which may wait for a tool
        MESSAGES, ///< brings what others wait for, and so does not wait itself
    };

    explicit ServerThreadMark(Work work) noexcept { tWork = work; }
    ~ServerThreadMark() { tWork = NOTHING; }
    ServerThreadMark(const ServerThreadMark&) = delete;
    ServerThreadMark& operator=(const ServerThreadMark&) = delete;

    static bool isSet() noexcept { return tWork != NOTHING; }
    static bool isSet(Work work) noexcept { return tWork == work; }

private:
    /// In the static block that every process sets aside for libraries loaded late: read without a call.
    [[gnu::tls_model("initial-exec")]] static inline thread_local constinit Work tWork = NOTHING;
};

} // namespace Tarq::Common::Debugger
