#pragma once

#include "common/io/stream.h"
#include "common/memory/memorymanaged.h"
#include "common/network/sockets/hostaddress.h"
#include "common/platform/time.h"

namespace Tarq::Common::Debugger {

class Server;

/// Carries messages between the server and its clients, each of which it knows by a connection ID.
///
/// It tells the server what happens: `Server::notifyConnection` for a new connection, `Server::messageReceived` for
/// each complete message, `Server::disconnectClient` inside of `disconnect`, which it calls itself for a connection
/// that is lost.
///
/// Threads: the server thread calls `processEvents`, without a lock, `close` and the destructor; `send`, `disconnect`
/// and `interrupt` come from any thread, under the server's data mutex. `connect` comes before the thread runs, and so
/// does the destructor when the start fails; without `close` then. Ownership: the server's, on whose allocator it is
/// made. What is thrown is logged, and counts as a failure.
class TARQ_API ConnectionLayer : public Memory::MemoryManaged {
public:
    ~ConnectionLayer() override;

    /// Begins to listen on the address. False after a failure, which is logged.
    virtual bool connect(const Network::Sockets::HostAddress& address) = 0;
    /// Stops listening; the connections stay.
    virtual void close() = 0;
    /// Takes over a finished message and sends it in the course of the next passes. False when it could not; the
    /// message is the caller's then.
    virtual bool send(uint32 connectionID, IO::Stream* message) = 0;
    /// Ends a connection, and frees its ID at once. Asserts that there is such a connection; false then.
    virtual bool disconnect(uint32 connectionID) = 0;
    /// One pass of work, which waits a while for something to do. 0, or -1 after a failure.
    virtual int32 processEvents() = 0;
    /// Ends a `processEvents` that waits, if it would not end soon by itself.
    virtual void interrupt() = 0;

    /// Where it listens, with the port that the system has chosen; under the data mutex.
    const Network::Sockets::HostAddress& getListeningAddress() const noexcept { return mListeningAddress; }

protected:
    ConnectionLayer() = default;

    Network::Sockets::HostAddress mListeningAddress; ///< set by `connect`
};

/// Makes the transport of a server that does not listen on TCP, or for a test.
class ConnectionLayerFactory {
public:
    /// Returns a new layer that reports to `server` and waits in a pass for `waitTime` at most; null, or what it
    /// throws, fails the start. Called under the data mutex.
    virtual ConnectionLayer* createConnectionLayer(const Memory::AllocatorPtr& allocator, Server* server,
                                                   Platform::MilliSeconds waitTime) = 0;

protected:
    ConnectionLayerFactory() = default;
    ~ConnectionLayerFactory() = default;
};

} // namespace Tarq::Common::Debugger
