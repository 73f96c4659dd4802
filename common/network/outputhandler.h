#pragma once

#include "common/container/list.h"
#include "common/io/stream.h"
#include "common/network/eventhandler.h"

namespace Tarq::Common::Network {

class Reactor;

enum OutputHandlerState : int32 {
    OUTSTATE_FAILED = 0, ///< every event returns false
    OUTSTATE_INIT = 1,   ///< the next event calls `initialize`
    OUTSTATE_IDLE = 2,
    OUTSTATE_SEND_LENGTH = 3, ///< of the oldest message
    OUTSTATE_SEND_DATA = 4,   ///< of the oldest message
};

/// A handler for a socket that messages are to be sent over: the queue of these, the oldest first.
///
/// Threads: `queueMessage` on any; the rest on the one that drives the reactor. Where the handler may be deleted
/// meanwhile, its owner withdraws the pointer to it under the reactor's connection lock before it requests or performs
/// the removal, and whoever queues fetches the pointer and queues under one hold of that lock.
/// Ownership: of the queued streams. The reactor outlives the handler.
class TARQ_API OutputHandler : public EventHandler {
public:
    /// Deletes what is still queued.
    ~OutputHandler() override;

    /// Takes over a finished message, not null, and queues it; the first one enters the socket in the reactor's
    /// write-wait list, and ends a wait of the reactor that is under way. A stream that grows afterwards is sent as
    /// long as it is then.
    ///
    /// False when there is no memory, the stream does not tell its length, or a limit of queued messages is crossed by
    /// this one or was by one before: the stream stays the caller's. The connection has failed in the last case, which
    /// is logged when `Reactor::takeFailedConnection` tells it. Nothing is reported, logged or deleted here, as the
    /// caller may hold the connection lock; of the stream, `getLength` is called.
    bool queueMessage(IO::Stream* message);

    OutputHandlerState getState() const noexcept { return mState; }
    /// Whether it has begun with a message.
    bool isInMessage() const noexcept { return mState == OUTSTATE_SEND_LENGTH || mState == OUTSTATE_SEND_DATA; }

protected:
    OutputHandler(Sockets::TCPSocket* socket, Reactor* reactor) noexcept;

    /// The oldest message, null when there is none.
    IO::Stream* getFirstMessage() const noexcept;
    /// Whether another message waits behind the oldest one.
    bool hasSecondMessage() const noexcept;
    /// Deletes the oldest message, and leaves the write-wait list if it was the last one.
    void finishMessage();
    /// Asserts "Tried to deregister OutputHandler but there are still (", the number of messages and ") messages to
    /// send"; leaves the list all the same.
    void leaveWriteWaitList();

    OutputHandlerState mState = OUTSTATE_INIT;

private:
    friend class ConnectionTable;
    friend class Reactor;
    struct QueuedMessage {
        IO::Stream* stream;
        uint64 numBytes; ///< when it was queued
    };
    enum GivenUp : uint8 { GIVENUP_NOT, GIVENUP_BYTES, GIVENUP_MESSAGES, GIVENUP_REPORTED };

    bool enqueue(IO::Stream* message, uint64 numBytes);
    GivenUp findCrossedLimit(uint64 numBytes) const noexcept;
    bool leaveList() noexcept;

    // For the reactor.

    void reportGivenUp();

    Container::List<QueuedMessage> mMessageStreams;
    uint64 mQueuedBytes = 0;
    bool mIsListed = false; ///< has a place in the write-wait list
    GivenUp mGivenUp = GIVENUP_NOT;
    uint64 mRefusedBytes = 0; ///< of the message that has crossed the limit
    Reactor* mReactor;
};

} // namespace Tarq::Common::Network
