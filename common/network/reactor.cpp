#include "common/network/reactor.h"

#include "common/debug/assert.h"
#include "common/memory/memoryexception.h"
#include "common/network/outputhandler.h"
#include "common/network/sockets/socketerrortext.h"

#include <algorithm>

namespace Tarq::Common::Network {

using Sockets::Socket;
using Sockets::TCPSocket;

namespace {

/// What is said of the handlers of one type.
struct HandlerKind {
    EventHandlerType type;
    const char* occupied;
    const char* unknown;
    const char* notUnregistered;
    const char* remaining;
};

constexpr HandlerKind cKinds[] = {
    {EVENTHANDLER_READ, "Tried to register a second EventHandler for reading on an occupied socket",
     "trying to unregister unknown EventHandlerRead",
     "Couldn't unregister HandlerRead for Socket that was removed right now", "mHandlerRead are still existing"},
    {EVENTHANDLER_WRITE, "Tried to register a second EventHandler for writing on an occupied socket",
     "trying to unregister unknown EventHandlerWrite",
     "Couldn't unregister HandlerWrite for Socket that was removed right now", "mHandlerWrite are still existing"},
    {EVENTHANDLER_ERROR, "Tried to register a second EventHandler for error on an occupied socket",
     "trying to unregister unknown EventHandlerError",
     "Couldn't unregister HandlerError for Socket that was removed right now", "mHandlerError are still existing"},
};

/// Null for a type that there is not.
const HandlerKind* findKind(EventHandlerType type) noexcept {
    for (const HandlerKind& kind : cKinds) {
        if (kind.type == type)
            return &kind;
    }
    return nullptr;
}

} // namespace

Reactor::Reactor(const Memory::AllocatorPtr& allocator, int32 timeoutMicroseconds)
    : mTimeoutMicroseconds(timeoutMicroseconds), mTable(allocator), mReadList(allocator), mWriteList(allocator),
      mErrorList(allocator), mHandlerNoSocket(allocator) {}

Reactor::~Reactor() {
    bool areRemoved = true;
    while (!removeDirtyConnections())
        areRemoved = false;
    if (!areRemoved)
        TARQ_FAIL("dirty connection are still existing");
    TCPSocket* left = mTable.getFirst();
    while (left && removeConnection(left))
        left = mTable.getFirst();
    if (left)
        TARQ_FAIL("mConnections are still existing");
    for (const HandlerKind& kind : cKinds) {
        if (mTable.hasHandlers(kind.type))
            TARQ_FAIL(kind.remaining);
    }
    if (!mHandlerNoSocket.empty())
        TARQ_FAIL("mHandlerNoSocket are still existing");
}

void Reactor::setLimits(const ConnectionLimits& limits) noexcept {
    mLimits = limits;
    mLimits.mMaxConnections = std::min(mLimits.mMaxConnections, ConnectionLimits::cMostConnections);
}

bool Reactor::registerEventHandler(EventHandler* handler) {
    mPassesLeft = 0; // the new one is called from the next pass on
    const HandlerKind* const kind = findKind(handler->getType());
    if (handler->getSocket() && !kind)
        return TARQ_FAIL("Unknown EventHandlerType tried to register in Reactor, type: ", handler->getType());
    switch (handler->getSocket() ? enter(handler) : enterWithoutSocket(handler)) {
    case ConnectionTable::ENTRY_NEW:
        return true;
    case ConnectionTable::ENTRY_KNOWN:
        return TARQ_FAIL(kind->occupied);
    default:
        return TARQ_FAIL("There is no memory to register an EventHandler");
    }
}

/// Waits take no memory: there is room for each connection in their lists.
ConnectionTable::Entry Reactor::enter(EventHandler* handler) noexcept {
    try {
        for (Socket::SocketList* const list : {&mReadList, &mWriteList, &mErrorList})
            list->reserve(mTable.size() + 1);
        return mTable.enter(handler);
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return ConnectionTable::ENTRY_NO_MEMORY;
    }
}

ConnectionTable::Entry Reactor::enterWithoutSocket(EventHandler* handler) noexcept {
    try {
        mHandlerNoSocket.push_back(handler);
        return ConnectionTable::ENTRY_NEW;
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return ConnectionTable::ENTRY_NO_MEMORY;
    }
}

bool Reactor::unregisterEventHandler(EventHandler* handler) {
    mPassesLeft = 0; // the socket may be gone soon
    if (!handler->getSocket())
        return unregisterWithoutSocket(handler);
    const HandlerKind* const kind = findKind(handler->getType());
    if (!kind)
        return TARQ_FAIL("Trief to unregister unkown EventHandlerType: ", handler->getType());
    if (!mTable.leave(handler))
        return TARQ_FAIL(kind->unknown);
    return true;
}

bool Reactor::unregisterWithoutSocket(EventHandler* handler) {
    const auto found = std::find(mHandlerNoSocket.begin(), mHandlerNoSocket.end(), handler);
    if (found == mHandlerNoSocket.end())
        return TARQ_FAIL("trying to unregister unknown EventHandlerNoSocket");
    if (found - mHandlerNoSocket.begin() < int64{mNextWithoutSocket})
        --mNextWithoutSocket;
    mHandlerNoSocket.erase(found);
    return true;
}

bool Reactor::registerOutHandler(TCPSocket* socket) {
    const ConnectionTable::Entry entry = mTable.list(socket);
    if (entry == ConnectionTable::ENTRY_KNOWN)
        TARQ_FAIL("Tried to register the same OutHandler twice for sending over socket - forgotten to unregister ?");
    return entry != ConnectionTable::ENTRY_NO_MEMORY;
}

void Reactor::unregisterOutHandler(TCPSocket* socket) {
    if (!mTable.unlist(socket))
        failNotListed();
}

void Reactor::failNotListed() {
    TARQ_FAIL("Tried to unregister OutHandler from list of Handler waiting to write data BUT the socket wasn't "
              "registered before");
}

bool Reactor::removeConnectionRequest(TCPSocket* socket) {
    if (!mTable.request(socket))
        return TARQ_FAIL("Tried to remove unknown connection");
    return true;
}

bool Reactor::removeDirtyConnections() {
    while (TCPSocket* const socket = mTable.takeRequested()) {
        if (!removeConnection(socket))
            return TARQ_FAIL("Couldn't removed dirty connection");
    }
    return true;
}

bool Reactor::removeConnection(TCPSocket* socket) {
    uint32 count = mTable.remove(socket);
    if (count == 0)
        return TARQ_FAIL("Couldn't remove Connection within Reactor");
    for (; count > 1; --count)
        TARQ_FAIL("During removing a Socket found the same socket second time");
    for (const HandlerKind& kind : cKinds) {
        EventHandler* const handler = mTable.find(socket, kind.type);
        if (!handler)
            continue;
        TARQ_ASSERT_AS("unregisterEventHandler(handler)", unregisterEventHandler(handler), kind.notUnregistered);
        delete handler;
    }
    return true;
}

bool Reactor::hasConnection(const TCPSocket* socket) const noexcept {
    return mTable.contains(socket);
}

bool Reactor::handleEvents() {
    return goesOn() ? dispatchReady() : waitAndDispatch();
}

/// Keeps, of the sockets that the last pass has served, those for which the system need not be asked; returns whether
/// there are any. What they move mostly stays in their own memory, and a wait costs many times as much as that.
bool Reactor::goesOn() noexcept {
    if (mPassesLeft == 0)
        return false;
    --mPassesLeft;
    const bool isReading = !mReadList.empty();
    Socket::SocketList& served = isReading ? mReadList : mWriteList;
    const auto isDone = [isReading](const Socket* socket) {
        return isReading ? !socket->hasBytesAhead() : !static_cast<const TCPSocket*>(socket)->hasTakenAll();
    };
    served.erase(std::remove_if(served.begin(), served.end(), isDone), served.end());
    if (!isReading && !served.empty())
        mTable.keepWriting(served);
    return !served.empty();
}

bool Reactor::waitAndDispatch() {
    mPassesLeft = 0;
    Socket::Wake wake = mTable.beginWait(mReadList, mWriteList, mErrorList);
    if (mReadList.empty())
        return true;
    const Socket::SelectError result = Socket::select(mReadList, mWriteList, mErrorList, mTimeoutMicroseconds, wake);
    const bool isWakeUsable = mTable.finishWait(wake);
    switch (result) {
    case Socket::SELECT_TIMEOUT:
        return !wake.isReady || dispatchWoken();
    case Socket::SELECT_ERROR: {
        // The next wait does without it, and shows whether a socket has failed, too.
        if (wake.isReady && !isWakeUsable)
            return true;
        const int32 error = Socket::getLastError();
        noteBrokenSockets();
        return TARQ_FAIL("Reactor received socket error during select call on registered connections: ",
                         Sockets::getSocketErrorText(error));
    }
    case Socket::SELECT_OK:
        mPassesLeft = cMostPassesUnasked;
        return dispatchReady();
    }
    return TARQ_FAIL("Reactor received unknown Socket::SelectError: ", result);
}

/// Whoever queues a message and ends a wait with it has a socket that most likely has room: it is tried without asking
/// the system first.
bool Reactor::dispatchWoken() {
    mReadList.clear();
    mTable.collectWriters(mWriteList);
    mPassesLeft = cMostPassesUnasked;
    return dispatchReady();
}

bool Reactor::dispatchReady() {
    // A peer that has something to say waits for it to be heard; it reads no answer before.
    return mReadList.empty() ? dispatch(mWriteList, EVENTHANDLER_WRITE) : dispatch(mReadList, EVENTHANDLER_READ);
}

/// A socket that no wait is possible with would end every pass, before any handler is called.
void Reactor::noteBrokenSockets() {
    mWriteList.clear();
    Socket::SocketList none((Memory::AllocatorPtr()));
    // The list is as it was before the wait: all of them.
    for (Socket* const socket : mErrorList) {
        mReadList.clear();
        mReadList.push_back(socket);
        if (!socket->isValid() || Socket::select(mReadList, mWriteList, none, 0) == Socket::SELECT_ERROR)
            mTable.noteFailure(static_cast<TCPSocket*>(socket));
    }
}

bool Reactor::dispatch(const Socket::SocketList& ready, EventHandlerType type) {
    // By index: a handler that registers a connection makes room in this list.
    for (uint32 at = 0; at < ready.size(); ++at) {
        EventHandler* const handler = mTable.findToCall(ready[at], type);
        TCPSocket* const socket = handler ? handler->getSocket() : nullptr;
        if (handler && !handler->handleEvent()) {
            mTable.noteFailure(socket);
            return false;
        }
    }
    return true;
}

bool Reactor::handleNoSocketEvents() {
    // Handlers may unregister themselves and each other meanwhile.
    for (mNextWithoutSocket = 0; mNextWithoutSocket < mHandlerNoSocket.size();) {
        EventHandler* const handler = mHandlerNoSocket[mNextWithoutSocket++];
        if (!handler->handleEvent())
            return false;
    }
    return true;
}

TCPSocket* Reactor::takeFailedConnection() {
    TCPSocket* const socket = mTable.takeFailed();
    if (auto* const output = dynamic_cast<OutputHandler*>(mTable.find(socket, EVENTHANDLER_WRITE)))
        output->reportGivenUp();
    return socket;
}

} // namespace Tarq::Common::Network
