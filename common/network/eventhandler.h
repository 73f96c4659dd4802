#pragma once

#include "common/memory/memorymanaged.h"
#include "common/network/sockets/tcpsocket.h"

namespace Tarq::Common::Network {

/// What a handler waits for.
enum EventHandlerType : int32 {
    EVENTHANDLER_READ = 0,
    EVENTHANDLER_WRITE = 1,
    EVENTHANDLER_ERROR = 2,
};

/// What is called when a socket is ready.
///
/// Threads: the one that drives the reactor. Nothing is thrown.
/// Ownership: a reactor that is told to remove a connection deletes the handlers of its socket; until it has registered
/// the handler, and after it has unregistered it, the handler is its maker's. The socket is not the handler's,
/// and outlives its registration: its address is what the reactor knows it by.
class TARQ_API EventHandler : public Memory::MemoryManaged {
public:
    ~EventHandler() override;

    /// Called once, when the handler leaves its first state; false means that it has failed. True here.
    virtual bool initialize();
    /// Called when the socket is ready, which may be over by then; must not wait. A handler without socket is called in
    /// every pass. False means that the handler has failed.
    ///
    /// Does not remove the connection that it serves; it may request that.
    virtual bool handleEvent() = 0;

    EventHandlerType getType() const noexcept { return mType; }
    /// Null for a handler without socket.
    Sockets::TCPSocket* getSocket() const noexcept { return mSocket; }

protected:
    EventHandler(EventHandlerType type, Sockets::TCPSocket* socket) noexcept : mType(type), mSocket(socket) {}

private:
    EventHandlerType mType;
    Sockets::TCPSocket* mSocket;
};

} // namespace Tarq::Common::Network
