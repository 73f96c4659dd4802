#include "common/network/connectiontable.h"

#include "common/memory/memoryexception.h"
#include "common/network/outputhandler.h"

#include <algorithm>
#include <utility>

namespace Tarq::Common::Network {

using Sockets::Socket;
using Sockets::TCPSocket;
using Lock = Threading::ScopedLock<Threading::SpinLock>;

namespace {

/// Null for a handler of another kind.
OutputHandler* asOutputHandler(EventHandler* handler) noexcept {
    return handler->getType() == EVENTHANDLER_WRITE ? dynamic_cast<OutputHandler*>(handler) : nullptr;
}

} // namespace

ConnectionTable::ConnectionTable(const Memory::AllocatorPtr& allocator) noexcept
    : mConnections(allocator), mDirtyConnections(allocator), mFailedConnections(allocator), mWaitingToWrite(allocator),
      mHandlerRead(allocator), mHandlerWrite(allocator), mHandlerError(allocator) {}

ConnectionTable::Entry ConnectionTable::enter(EventHandler* handler) noexcept {
    const Lock inside(mLock);
    HandlerMap& handlers = mapOf(handler->getType());
    if (handlers.contains(handler->getSocket()))
        return ENTRY_KNOWN;
    try {
        insert(handler, handlers);
        return ENTRY_NEW;
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return ENTRY_NO_MEMORY;
    }
}

/// All of it, or nothing: what takes memory comes first.
void ConnectionTable::insert(EventHandler* handler, HandlerMap& handlers) {
    TCPSocket* const socket = handler->getSocket();
    OutputHandler* const output = asOutputHandler(handler);
    const bool isNew = !isServed(socket);
    if (isNew)
        makeRoomForOneMore();
    if (output)
        mWaitingToWrite.reserve(mWaitingToWrite.size() + 1);
    handlers.insert(socket, handler);
    if (isNew) {
        mConnections.add(socket);
        // A request may still stand for a socket that was at this address before.
        mDirtyConnections.remove(socket);
    }
    if (output)
        resume(output);
}

void ConnectionTable::makeRoomForOneMore() {
    const uint32 count = mConnections.size() + 1;
    mConnections.reserve(count);
    // A request for a connection that was removed meanwhile stays.
    mDirtyConnections.reserve(mDirtyConnections.size() + count);
    mFailedConnections.reserve(count);
}

/// Messages may have been queued, and limits crossed, while the handler was not registered.
void ConnectionTable::resume(OutputHandler* handler) noexcept {
    handler->mIsListed = !handler->mMessageStreams.empty();
    if (handler->mIsListed)
        mWaitingToWrite.add(handler->getSocket());
    if (handler->mGivenUp != OutputHandler::GIVENUP_NOT)
        noteFailure(handler->getSocket());
}

bool ConnectionTable::leave(EventHandler* handler) noexcept {
    const Lock inside(mLock);
    const TCPSocket* const socket = handler->getSocket();
    HandlerMap& handlers = mapOf(handler->getType());
    const auto found = handlers.find(socket);
    if (found == handlers.end() || found->second != handler)
        return false;
    handlers.erase(found);
    if (handler->getType() == EVENTHANDLER_WRITE)
        mWaitingToWrite.remove(socket);
    if (OutputHandler* const output = asOutputHandler(handler))
        output->mIsListed = false;
    // A connection that is being removed has left already; a request that was there is told to have been in vain.
    if (!isServed(socket) && mConnections.remove(socket) != 0) {
        mDirtyConnections.remove(socket);
        mFailedConnections.remove(socket);
    }
    return true;
}

EventHandler* ConnectionTable::find(const Socket* socket, EventHandlerType type) const noexcept {
    const Lock inside(mLock);
    const HandlerMap& handlers = mapOf(type);
    const auto found = handlers.find(socket);
    return found == handlers.end() ? nullptr : found->second;
}

EventHandler* ConnectionTable::findToCall(const Socket* socket, EventHandlerType type) const noexcept {
    const Lock inside(mLock);
    EventHandler* const handler = find(socket, type);
    return handler && !mDirtyConnections.contains(handler->getSocket()) ? handler : nullptr;
}

bool ConnectionTable::hasHandlers(EventHandlerType type) const noexcept {
    const Lock inside(mLock);
    return !mapOf(type).empty();
}

ConnectionTable::HandlerMap& ConnectionTable::mapOf(EventHandlerType type) noexcept {
    return const_cast<HandlerMap&>(std::as_const(*this).mapOf(type));
}

const ConnectionTable::HandlerMap& ConnectionTable::mapOf(EventHandlerType type) const noexcept {
    switch (type) {
    case EVENTHANDLER_READ:
        return mHandlerRead;
    case EVENTHANDLER_WRITE:
        return mHandlerWrite;
    default:
        return mHandlerError;
    }
}

bool ConnectionTable::isServed(const TCPSocket* socket) const noexcept {
    return mHandlerRead.contains(socket) || mHandlerWrite.contains(socket) || mHandlerError.contains(socket);
}

uint32 ConnectionTable::size() const noexcept {
    const Lock inside(mLock);
    return mConnections.size();
}

bool ConnectionTable::contains(const TCPSocket* socket) const noexcept {
    const Lock inside(mLock);
    return mConnections.contains(socket);
}

TCPSocket* ConnectionTable::getFirst() const noexcept {
    const Lock inside(mLock);
    return mConnections.empty() ? nullptr : *mConnections.begin();
}

uint32 ConnectionTable::remove(const TCPSocket* socket) noexcept {
    const Lock inside(mLock);
    mFailedConnections.remove(socket);
    mWaitingToWrite.remove(socket);
    return mConnections.remove(socket);
}

bool ConnectionTable::request(TCPSocket* socket) noexcept {
    const Lock inside(mLock);
    if (!mConnections.contains(socket))
        return false;
    mDirtyConnections.add(socket);
    return true;
}

TCPSocket* ConnectionTable::takeRequested() noexcept {
    const Lock inside(mLock);
    return mDirtyConnections.takeFirst();
}

void ConnectionTable::noteFailure(TCPSocket* socket) noexcept {
    const Lock inside(mLock);
    if (mConnections.contains(socket) && mFailedConnections.add(socket))
        mWaker.wake();
}

TCPSocket* ConnectionTable::takeFailed() noexcept {
    const Lock inside(mLock);
    return mFailedConnections.takeFirst();
}

ConnectionTable::Entry ConnectionTable::list(TCPSocket* socket) noexcept {
    const Lock inside(mLock);
    try {
        if (!mWaitingToWrite.add(socket))
            return ENTRY_KNOWN;
        mWaker.wake();
        return ENTRY_NEW;
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return ENTRY_NO_MEMORY;
    }
}

bool ConnectionTable::unlist(const TCPSocket* socket) noexcept {
    const Lock inside(mLock);
    return mWaitingToWrite.remove(socket) != 0;
}

void ConnectionTable::unlistFor(const OutputHandler* handler) noexcept {
    const Lock inside(mLock);
    const EventHandler* const registered = find(handler->getSocket(), EVENTHANDLER_WRITE);
    if (!registered || registered == handler)
        mWaitingToWrite.remove(handler->getSocket());
}

void ConnectionTable::keepWriting(Socket::SocketList& sockets) const noexcept {
    const Lock inside(mLock);
    const auto isOut = [this](const Socket* socket) {
        const auto* const output = dynamic_cast<OutputHandler*>(find(socket, EVENTHANDLER_WRITE));
        return !output || output->getState() == OUTSTATE_FAILED || !mWaitingToWrite.contains(output->getSocket());
    };
    sockets.erase(std::remove_if(sockets.begin(), sockets.end(), isOut), sockets.end());
}

Socket::Wake ConnectionTable::beginWait(Socket::SocketList& toRead, Socket::SocketList& toWrite,
                                        Socket::SocketList& toFail) noexcept {
    const Lock inside(mLock);
    for (Socket::SocketList* const list : {&toRead, &toWrite, &toFail})
        list->clear();
    for (TCPSocket* const socket : mConnections) {
        toRead.push_back(socket);
        toFail.push_back(socket);
    }
    addWriters(toWrite);
    // Nobody waits without a connection.
    return {mConnections.empty() ? Platform::cNoSocket : mWaker.beginWait()};
}

void ConnectionTable::collectWriters(Socket::SocketList& toWrite) const noexcept {
    const Lock inside(mLock);
    toWrite.clear();
    addWriters(toWrite);
}

/// A message may be queued before its handler is registered.
void ConnectionTable::addWriters(Socket::SocketList& toWrite) const noexcept {
    for (TCPSocket* const socket : mWaitingToWrite) {
        if (mHandlerWrite.contains(socket))
            toWrite.push_back(socket);
    }
}

bool ConnectionTable::finishWait(const Socket::Wake& wake) noexcept {
    const Lock inside(mLock);
    return mWaker.finishWait(wake.isReady);
}

} // namespace Tarq::Common::Network
