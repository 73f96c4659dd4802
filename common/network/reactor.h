#pragma once

#include "common/network/connectionlimits.h"
#include "common/network/connectiontable.h"

namespace Tarq::Common::Network {

/// Waits for the sockets of its connections, and calls the handlers of those that are ready.
///
/// A connection is a socket with at least one handler. Its owner drives the reactor in steps: `removeDirtyConnections`,
/// `handleEvents`, `handleNoSocketEvents`; and looks after each step what `takeFailedConnection` says.
///
/// Without a connection `handleEvents` does not wait: an owner that neither listens nor has clients waits by itself.
///
/// Threads: one drives it, and registers, unregisters and removes; the handlers run on that one. Any thread may request
/// a removal and queue messages on an output handler. A message, and a limit that it crosses, ends a wait that is under
/// way, unless the system has refused the handle for that; a request is seen after the time-out, or whatever else ends
/// the wait. What these share is guarded by the connection lock, which is not held while the reactor waits or a handler
/// runs. Ownership: handlers of a removed connection are deleted; sockets are not, and stay until their connection is
/// removed. Nothing is thrown.
class TARQ_API Reactor : public Memory::MemoryManaged {
public:
    /// How many passes in a row go by what the system has said before.
    static constexpr uint32 cMostPassesUnasked = 16;

    /// One `handleEvents` waits for at most `timeoutMicroseconds`; negative: without limit, and then for ever if only
    /// a removal has been requested.
    Reactor(const Memory::AllocatorPtr& allocator, int32 timeoutMicroseconds);
    /// Removes the connections that are left. Asserts that no handler without socket is.
    ~Reactor() override;

    /// Enters a handler for its socket, of which there is one of each type; or among those without socket. A handler
    /// may do so while it runs; the new one is called from the next pass on.
    ///
    /// Asserts that the type is known, that the socket has no such handler yet, and that there is memory; returns false
    /// and changes nothing then.
    bool registerEventHandler(EventHandler* handler);
    /// The handler is its caller's then. The last handler of a socket takes the connection with it, and an output
    /// handler the socket's place in the write-wait list until it is registered again. Asserts that it is registered;
    /// false then.
    bool unregisterEventHandler(EventHandler* handler);

    /// Enters the socket in the list of those that wait to write. Asserts that it is not listed yet. False, without a
    /// report, when there is no memory.
    bool registerOutHandler(Sockets::TCPSocket* socket);
    /// For output handlers, when their last message is sent. Asserts that the socket is listed.
    void unregisterOutHandler(Sockets::TCPSocket* socket);

    /// Has the connection removed at the beginning of the next step; its handlers are not called any more, but for one
    /// that runs. Asserts that there is one; false then. Any thread.
    bool removeConnectionRequest(Sockets::TCPSocket* socket);
    /// Removes what was requested. A connection that cannot be removed is asserted, and not tried again; false then,
    /// with the rest left for the next time.
    bool removeDirtyConnections();
    /// Removes the connection, its place in the write-wait list included, and deletes its handlers. Not while one of
    /// them runs. Asserts that there is such a connection; false then.
    bool removeConnection(Sockets::TCPSocket* socket);
    /// Whether there is such a connection. Any thread; but only on the one that drives the reactor, and outside of
    /// handlers' destructors, does "no" mean that the handlers are gone and the socket is not used any more.
    bool hasConnection(const Sockets::TCPSocket* socket) const noexcept;

    /// Waits once, and calls the handlers of the sockets that can be read; only if there are none, those of the sockets
    /// that can be written. The first handler that fails ends the pass; false then. A wait that another thread has
    /// ended calls none: the next one looks at what there is to write.
    ///
    /// Not every pass waits. After one that has read, up to `cMostPassesUnasked` read on from those of its sockets that
    /// have bytes ahead; after one that has written, as many go on with those of its output handlers that are in a
    /// message, still wait to write, and whose last bytes found room. Whoever has become ready meanwhile is heard then.
    ///
    /// Asserts a wait that fails, with the socket error's text; false then. The connections by whose fault it fails are
    /// told as failed.
    bool handleEvents();
    /// Calls the handlers without socket. The first that fails ends the pass; false then. Which one it was is not told:
    /// it keeps those behind it from being called until its maker unregisters it.
    bool handleNoSocketEvents();

    /// The next connection of which a handler has failed since it was told last, null when there is none. It would fail
    /// again, in front of the others: its owner removes it. It may have been requested to be removed already. The
    /// thread that drives the reactor, without a lock: a connection given up for its queue is logged here.
    Sockets::TCPSocket* takeFailedConnection();

    /// Guards the queues of output handlers, the write-wait list and the connections; the owner's table of connections
    /// may be guarded by it too. Recursive. Nothing under it waits, or takes another lock than those of allocators.
    Threading::SpinLock& getConnectionLock() const noexcept { return mTable.getLock(); }

    const ConnectionLimits& getLimits() const noexcept { return mLimits; }
    /// While no thread uses the reactor. More connections than it can wait for become as many as it can.
    void setLimits(const ConnectionLimits& limits) noexcept;

private:
    friend class OutputHandler;

    ConnectionTable::Entry enter(EventHandler* handler) noexcept;
    ConnectionTable::Entry enterWithoutSocket(EventHandler* handler) noexcept;
    bool unregisterWithoutSocket(EventHandler* handler);
    bool goesOn() noexcept;
    bool waitAndDispatch();
    bool dispatchWoken();
    bool dispatchReady();
    void noteBrokenSockets();
    bool dispatch(const Sockets::Socket::SocketList& ready, EventHandlerType type);
    static void failNotListed();

    int32 mTimeoutMicroseconds;
    ConnectionLimits mLimits;
    ConnectionTable mTable;

    // What a wait is for, and then what is ready. There is room for each connection.

    Sockets::Socket::SocketList mReadList;
    Sockets::Socket::SocketList mWriteList;
    Sockets::Socket::SocketList mErrorList;
    uint32 mPassesLeft = 0; ///< that may still go by what the last wait has shown

    Container::Vector<EventHandler*> mHandlerNoSocket;
    uint32 mNextWithoutSocket = 0; ///< the place of the handler that the pass over these comes to next
};

} // namespace Tarq::Common::Network
