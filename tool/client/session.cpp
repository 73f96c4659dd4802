#include "tool/client/session.h"

#include "tool/client/clock.h"

#include "common/library.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;
using Network::Sockets::Socket;

namespace {

void sleepFor(int32 microseconds, Session::Wake& wake) {
    Socket::SocketList none(Library::getTempAlloc());
    Socket::select(none, none, none, microseconds, wake);
}

} // namespace

/// How the messages of one type are read.
struct Session::Reading {
    MessageID id;
    void (Session::*read)(FieldReader&);
};

Session::Session(const SessionOptions& options, SessionListener& listener)
    : mOptions(options), mListener(listener), mPause(options.firstPauseMilliseconds, options.longestPauseMilliseconds) {
}

void Session::start() {
    stop();
    mPause.reset();
    connect();
}

void Session::stop() noexcept {
    mConnection.reset();
    enter(SESSION_DISCONNECTED, 0);
}

bool Session::step(int32 timeoutMicroseconds) {
    Wake none;
    return step(timeoutMicroseconds, none);
}

bool Session::step(int32 timeoutMicroseconds, Wake& wake) {
    if (!isActive())
        return false;
    const int32 timeout = shortenTimeout(timeoutMicroseconds);
    if (mState == SESSION_WAITING) {
        sleepFor(timeout, wake);
        if (isOverdue())
            connect();
    } else {
        mConnection->process(timeout, wake);
        followConnection();
    }
    return isActive();
}

void Session::connect() {
    mSigns.clear();
    mConnection = std::make_unique<Connection>(mOptions.address, mOptions.limits);
    enter(SESSION_CONNECTING, mOptions.timeoutMilliseconds);
    mListener.onConnecting();
}

/// Draws the conclusions from what the connection has become. A listener may have stopped the session in between.
void Session::followConnection() {
    if (mState == SESSION_CONNECTING && mConnection->isOpen()) {
        enter(SESSION_IDENTIFYING, mOptions.timeoutMilliseconds);
        post(mOptions.identity);
    }
    deliverMessages();
    // What has come is dealt with before the end.
    if (!mConnection || mYields)
        return;
    if (mConnection->hasEnded())
        failAt(Failure(mConnection->getFailure())); // a copy, as the connection goes
    else if (isOverdue() && mState == SESSION_CONNECTING)
        failAt({FAILURE_UNREACHABLE, "there is no answer"});
    else if (isOverdue())
        failAt({FAILURE_LOST, "the host does not answer"});
    else if (mConnection->getOutbox().countSilent() > mOptions.limits.maxSilent)
        failAt({FAILURE_PROTOCOL, "the host asks for more and more, and takes nothing"});
    else
        giveUpRequests();
}

/// A host at a breakpoint may answer late, so the connection stays.
void Session::giveUpRequests() {
    const uint64 patience = uint64{mOptions.answerMilliseconds} * 1000;
    while (mState == SESSION_CONNECTED) {
        Outbox& outbox = mConnection->getOutbox();
        if (!outbox.isWaiting() || getMicroseconds() < outbox.getOldestTime() + patience)
            return;
        const Outbox::GivenUp givenUp = outbox.giveUpOldest();
        if (std::erase(mSigns, givenUp.ticket) == 0)
            mListener.onUnanswered(givenUp.reply, givenUp.ticket);
    }
}

/// Silent messages go on only when there is an answer now and then. When nobody asks for anything else, it is for the
/// history of what no module has.
void Session::askForSign() {
    GetHistory nothing;
    nothing.moduleID = cNoID;
    nothing.instanceID = cNoID;
    mSigns.push_back(
        mConnection->getOutbox().addRequest(encode(nothing), GetHistoryReply::cID, encodeIdentification(nothing)));
}

void Session::deliverMessages() {
    mYields = false;
    while (mConnection && !mYields) {
        Memory::MemoryStream* const message = mConnection->nextMessage();
        if (!message)
            return;
        deliver(*message);
    }
}

/// After the listener's call nothing here is touched any more: the session may have been stopped or started anew.
void Session::deliver(Memory::MemoryStream& message) {
    static constexpr Reading cReadings[] = {
        {IdentityReply::cID, &Session::read<IdentityReply>},
    };
    FieldReader reader(message);
    uint32 id = 0;
    if (!reader.read("message type", id)) {
        mListener.onBadMessage(reader.getProblem());
        return;
    }
    const Ticket ticket = mConnection->getOutbox().answer(id, message);
    if (std::erase(mSigns, ticket) != 0)
        return;
    for (const Reading& reading : cReadings) {
        if (static_cast<uint32>(reading.id) == id) {
            (this->*reading.read)(reader);
            return;
        }
    }
    const uint64 numBytes = message.getLength();
    if (!mListener.onMessage(id, ticket, reader))
        mListener.onOtherMessage(id, numBytes);
}

template <class Message>
void Session::read(FieldReader& reader) {
    Message message;
    if (decode(reader, message)) {
        handle(message);
        return;
    }
    const String problem = nameOfMessage(static_cast<uint32>(Message::cID)) + ": " + reader.getProblem();
    if (mState == SESSION_IDENTIFYING)
        failAt({FAILURE_PROTOCOL, problem}); // the answer that is waited for does not come twice
    else
        mListener.onBadMessage(problem);
}

void Session::handle(const IdentityReply& reply) {
    if (mState != SESSION_IDENTIFYING) {
        mListener.onBadMessage("an identity reply that nobody asked for");
    } else if (reply.errorFlag == 0) {
        mAccepted = getMicroseconds();
        enter(SESSION_CONNECTED, 0);
        mListener.onAccepted(reply);
    } else {
        mConnection.reset();
        enter(SESSION_REFUSED, 0);
        mListener.onRefused(reply);
    }
}

/// The failure is not the connection's own: that goes first.
void Session::failAt(const Failure& failure) {
    mConnection.reset();
    if (mState == SESSION_CONNECTED && getMicroseconds() - mAccepted >= uint64{mOptions.steadyMilliseconds} * 1000)
        mPause.reset();
    if (!mOptions.reconnects) {
        enter(SESSION_DISCONNECTED, 0);
        mListener.onFailure(failure);
        return;
    }
    const uint32 pause = mPause.take();
    enter(SESSION_WAITING, pause);
    mListener.onFailure(failure);
    if (mState == SESSION_WAITING)
        mListener.onPause(pause);
}

/// `milliseconds` until the state is overdue; 0: never.
void Session::enter(SessionState state, uint64 milliseconds) noexcept {
    mState = state;
    mDeadline = milliseconds == 0 ? 0 : getMicroseconds() + milliseconds * 1000;
}

/// Of the state, or of the oldest request; 0: none.
uint64 Session::getNextDeadline() const noexcept {
    if (mState != SESSION_CONNECTED || !mConnection->getOutbox().isWaiting())
        return mDeadline;
    return mConnection->getOutbox().getOldestTime() + uint64{mOptions.answerMilliseconds} * 1000;
}

int32 Session::shortenTimeout(int32 timeoutMicroseconds) const noexcept {
    const uint64 deadline = getNextDeadline();
    if (deadline == 0)
        return timeoutMicroseconds;
    const uint64 left = deadline - std::min(deadline, getMicroseconds());
    const uint64 longest = timeoutMicroseconds < 0 ? 0x7FFFFFFF : static_cast<uint64>(timeoutMicroseconds);
    return static_cast<int32>(std::min(left, longest));
}

bool Session::isOverdue() const noexcept {
    return mDeadline != 0 && getMicroseconds() >= mDeadline;
}

} // namespace Tarq::Tool
