#pragma once

#include "common/container/lookup.h"
#include "common/network/eventhandler.h"
#include "common/network/socketset.h"
#include "common/network/waker.h"
#include "common/threading/spinlock.h"

namespace Tarq::Common::Network {

class OutputHandler;

/// The connections of a reactor: the sockets with at least one handler, these handlers, and what is to be done next.
///
/// Threads: any; each call is one hold of the connection lock. Handlers enter and leave on the thread that drives the
/// reactor. Ownership: of nothing. Nothing is reported, called or deleted here, and nothing thrown.
class ConnectionTable {
public:
    enum Entry : uint8 { ENTRY_NEW, ENTRY_KNOWN, ENTRY_NO_MEMORY };

    explicit ConnectionTable(const Memory::AllocatorPtr& allocator) noexcept;

    /// Recursive.
    Threading::SpinLock& getLock() const noexcept { return mLock; }

    // Handlers, of a type that there is and with a socket.

    /// Enters a handler, and with it what had to wait until it is there: its messages, the limits that they crossed.
    /// Changes nothing when the socket has one of the type, or when there is no memory.
    Entry enter(EventHandler* handler) noexcept;
    /// The last handler of a socket takes the connection with it. Returns whether it was there.
    bool leave(EventHandler* handler) noexcept;
    /// Null when there is none.
    EventHandler* find(const Sockets::Socket* socket, EventHandlerType type) const noexcept;
    /// Null for a connection that is to be removed, too: what its owner knows it by may be another one's already.
    EventHandler* findToCall(const Sockets::Socket* socket, EventHandlerType type) const noexcept;
    bool hasHandlers(EventHandlerType type) const noexcept;

    // Connections.

    uint32 size() const noexcept;
    bool contains(const Sockets::TCPSocket* socket) const noexcept;
    /// Null when there is none.
    Sockets::TCPSocket* getFirst() const noexcept;
    /// Takes the connection off the list, and all that was to be done with it, but leaves its handlers. Returns how
    /// often it was there.
    uint32 remove(const Sockets::TCPSocket* socket) noexcept;
    /// Notes that a connection is to be removed; false when there is no such connection.
    bool request(Sockets::TCPSocket* socket) noexcept;
    /// The next connection that is to be removed, null when there is none.
    Sockets::TCPSocket* takeRequested() noexcept;
    /// Notes that a connection has failed, if there is such a connection, and ends the wait that is under way.
    void noteFailure(Sockets::TCPSocket* socket) noexcept;
    /// The next connection that has failed, null when there is none.
    Sockets::TCPSocket* takeFailed() noexcept;

    // The write-wait list.

    /// Ends the wait that is under way.
    Entry list(Sockets::TCPSocket* socket) noexcept;
    /// Returns whether it was listed.
    bool unlist(const Sockets::TCPSocket* socket) noexcept;
    /// For a handler that goes. The place may be that of another one for the same socket, which is registered.
    void unlistFor(const OutputHandler* handler) noexcept;

    /// Takes out those that are not listed any more, and those without an output handler that is in a message.
    void keepWriting(Sockets::Socket::SocketList& sockets) const noexcept;

    /// Fills the lists that a wait takes: all connections to read and to fail, and to write those that are listed and
    /// have somebody to do it. There is room in the lists. If there are any, the wait is under way from now on,
    /// and ends with what is returned.
    Sockets::Socket::Wake beginWait(Sockets::Socket::SocketList& toRead, Sockets::Socket::SocketList& toWrite,
                                    Sockets::Socket::SocketList& toFail) noexcept;
    /// Fills the list with those that are listed and have somebody to write. There is room in it.
    void collectWriters(Sockets::Socket::SocketList& toWrite) const noexcept;
    /// The wait is over. False when a handle to end it is not in use, or not any more.
    bool finishWait(const Sockets::Socket::Wake& wake) noexcept;

private:
    void addWriters(Sockets::Socket::SocketList& toWrite) const noexcept;

    using HandlerMap = Container::LookUp<const Sockets::Socket*, EventHandler*>;

    HandlerMap& mapOf(EventHandlerType type) noexcept;
    const HandlerMap& mapOf(EventHandlerType type) const noexcept;
    bool isServed(const Sockets::TCPSocket* socket) const noexcept;
    void makeRoomForOneMore();
    void insert(EventHandler* handler, HandlerMap& handlers);
    void resume(OutputHandler* handler) noexcept;

    mutable Threading::SpinLock mLock{Threading::cSpinCount};

    // There is room for each connection in each of these, so that only a new handler or message takes memory.

    SocketSet mConnections; ///< in the order in which their first handler came
    SocketSet mDirtyConnections;
    SocketSet mFailedConnections;

    SocketSet mWaitingToWrite;
    HandlerMap mHandlerRead;
    HandlerMap mHandlerWrite;
    HandlerMap mHandlerError;

    Waker mWaker;
};

} // namespace Tarq::Common::Network
