#pragma once

#include "common/types.h"

namespace Tarq::Common::Network {

/// What a peer can make the host keep. A connection that crosses one of these is given up, with a log entry; the others
/// do not notice. Of calls, which are counted together, the one too many is dropped, with a log entry.
struct ConnectionLimits {
    /// The largest `mMaxConnections`: a select looks at 64 sockets, the listening one included, and whoever comes
    /// behind them is never heard. The handle that ends a wait has a place beside them.
    static constexpr uint32 cMostConnections = 63;

    uint32 mMaxMessageLength = 64u << 20; ///< of a received message, in bytes
    uint64 mMaxQueuedBytes = 256u << 20;  ///< of the messages of a connection that wait to be sent; of calls that wait
    uint32 mMaxQueuedMessages = 1u << 20; ///< likewise; the shortest one holds a block of its stream
    uint32 mMaxConnections = 60;          ///< at the same time
};

} // namespace Tarq::Common::Network
