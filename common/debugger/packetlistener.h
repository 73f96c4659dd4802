#pragma once

#include "common/io/stream.h"

namespace Tarq::Common::Debugger {

/// What a receive handler tells the connection layer that owns it. Threads: the one that drives the reactor. Nothing is
/// thrown, and the handler is not deleted inside.
class PacketListener {
public:
    /// The client has sent a complete message, which stays the handler's, and goes when this returns. Its position is
    /// at the end. Whoever handles it takes the locks that it needs; it may request the removal of the connection.
    virtual void messageReceived(uint32 clientID, IO::Stream* message) = 0;
    /// The client has closed the connection, or it has failed. Comes once, and nothing after it. Not for a handler that
    /// cannot begin or is in a state that there is not: only the reactor tells these, as failed connections.
    virtual void connectionLost(uint32 clientID) = 0;

protected:
    PacketListener() = default;
    ~PacketListener() = default;
};

} // namespace Tarq::Common::Debugger
