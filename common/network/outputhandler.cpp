#include "common/network/outputhandler.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/exceptions/internal/guarded.h"
#include "common/memory/memoryexception.h"
#include "common/network/reactor.h"

#include <memory>

namespace Tarq::Common::Network {

OutputHandler::OutputHandler(Sockets::TCPSocket* socket, Reactor* reactor) noexcept
    : EventHandler(EVENTHANDLER_WRITE, socket), mMessageStreams(getAllocator()), mReactor(reactor) {}

OutputHandler::~OutputHandler() {
    // The reactor clears this for those that it lets go of.
    if (mIsListed)
        mReactor->mTable.unlistFor(this);
    for (const QueuedMessage& message : mMessageStreams)
        delete message.stream;
}

bool OutputHandler::queueMessage(IO::Stream* message) {
    uint64 numBytes = 0;
    Exceptions::CaughtText caught;
    return Exceptions::runGuarded(caught, [&] { return numBytes = message->getLength(), true; }) &&
           enqueue(message, numBytes);
}

bool OutputHandler::enqueue(IO::Stream* message, uint64 numBytes) {
    const Threading::ScopedLock inside(mReactor->getConnectionLock());
    if (mGivenUp != GIVENUP_NOT)
        return false;
    mGivenUp = findCrossedLimit(numBytes);
    if (mGivenUp != GIVENUP_NOT) {
        mRefusedBytes = numBytes;
        mReactor->mTable.noteFailure(getSocket());
        return false;
    }
    try {
        mMessageStreams.push_back({message, numBytes});
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return false;
    }
    // Having messages is no sign of being listed: the handler may have been unregistered with them.
    if (!mIsListed && mReactor->mTable.list(getSocket()) == ConnectionTable::ENTRY_NO_MEMORY) {
        mMessageStreams.pop_back();
        return false;
    }
    mIsListed = true;
    mQueuedBytes += numBytes;
    return true;
}

OutputHandler::GivenUp OutputHandler::findCrossedLimit(uint64 numBytes) const noexcept {
    const ConnectionLimits& limits = mReactor->getLimits();
    if (mQueuedBytes > limits.mMaxQueuedBytes || numBytes > limits.mMaxQueuedBytes - mQueuedBytes)
        return GIVENUP_BYTES;
    return mMessageStreams.size() >= limits.mMaxQueuedMessages ? GIVENUP_MESSAGES : GIVENUP_NOT;
}

void OutputHandler::reportGivenUp() {
    GivenUp reason = GIVENUP_NOT;
    {
        const Threading::ScopedLock inside(mReactor->getConnectionLock());
        reason = mGivenUp;
        if (mGivenUp != GIVENUP_NOT)
            mGivenUp = GIVENUP_REPORTED;
    }
    const Debug::LogSite site(Debug::LOG_ERROR, "Tarq::Common::Network::OutputHandler::queueMessage");
    if (reason == GIVENUP_BYTES)
        Debug::report(site, "Connection is given up: a message of ", mRefusedBytes, " bytes crosses the limit of ",
                      mReactor->getLimits().mMaxQueuedBytes, " bytes that wait to be sent");
    if (reason == GIVENUP_MESSAGES)
        Debug::report(site, "Connection is given up: a message crosses the limit of ",
                      mReactor->getLimits().mMaxQueuedMessages, " messages that wait to be sent");
}

IO::Stream* OutputHandler::getFirstMessage() const noexcept {
    const Threading::ScopedLock inside(mReactor->getConnectionLock());
    return mMessageStreams.empty() ? nullptr : mMessageStreams.front().stream;
}

bool OutputHandler::hasSecondMessage() const noexcept {
    const Threading::ScopedLock inside(mReactor->getConnectionLock());
    return mMessageStreams.size() > 1;
}

void OutputHandler::finishMessage() {
    std::unique_ptr<IO::Stream> finished;
    bool wasListed = true;
    {
        const Threading::ScopedLock inside(mReactor->getConnectionLock());
        finished.reset(mMessageStreams.front().stream);
        mQueuedBytes -= mMessageStreams.front().numBytes;
        mMessageStreams.pop_front();
        if (mMessageStreams.empty())
            wasListed = leaveList();
    }
    if (!wasListed)
        Reactor::failNotListed();
}

void OutputHandler::leaveWriteWaitList() {
    uint32 count = 0;
    bool wasListed = false;
    {
        const Threading::ScopedLock inside(mReactor->getConnectionLock());
        count = mMessageStreams.size();
        wasListed = leaveList();
    }
    if (count != 0)
        TARQ_FAIL("Tried to deregister OutputHandler but there are still (", count, ") messages to send");
    if (!wasListed)
        Reactor::failNotListed();
}

/// Returns whether the socket was listed. Under the connection lock; what there is to report comes after it.
bool OutputHandler::leaveList() noexcept {
    mIsListed = false;
    return mReactor->mTable.unlist(getSocket());
}

} // namespace Tarq::Common::Network
