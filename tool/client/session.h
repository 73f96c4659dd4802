#pragma once

#include "tool/client/codec.h"
#include "tool/client/connection.h"
#include "tool/client/retrypause.h"
#include "tool/client/sessionlistener.h"

#include <memory>
#include <utility>
#include <vector>

namespace Tarq::Tool {

struct SessionOptions {
    Common::Network::Sockets::HostAddress address;
    Identity identity;
    /// For the connection to be made, and then for the host to answer the identity; 0: as long as it takes.
    Common::uint32 timeoutMilliseconds = 5000;
    /// For any other request to be answered; what is behind it waits no longer then.
    Common::uint32 answerMilliseconds = 30000;
    bool reconnects = true;                      ///< after a failure that is no refusal
    Common::uint32 firstPauseMilliseconds = 100; ///< above 0; it doubles from attempt to attempt
    Common::uint32 longestPauseMilliseconds = 5000;
    /// A connection that has lasted so long lets the pauses begin with the first one again. A host that lets a tool in
    /// and hangs up is not asked all the time.
    Common::uint32 steadyMilliseconds = 5000;
    ConnectionLimits limits;
};

enum SessionState : Common::uint8 {
    SESSION_DISCONNECTED, ///< not started, stopped, or ended by a failure
    SESSION_CONNECTING,
    SESSION_IDENTIFYING, ///< connected; the host has not answered the identity yet
    SESSION_CONNECTED,
    SESSION_REFUSED, ///< ended by the host
    SESSION_WAITING, ///< for the next attempt
};

/// A tool's stay with a host: connects, tells who the tool is, hands what the host says to a listener, and comes back
/// when the host does.
///
///     Session session(options, listener);
///     session.start();
///     while (!isStopWanted && session.step(100000)) {
///     }
///
/// Threads: one. Nothing waits but `step`, and that no longer than it is told.
/// Throws `OutOfMemoryException`.
class Session {
public:
    using Wake = Common::Network::Sockets::Socket::Wake;

    /// The listener outlives the session.
    Session(const SessionOptions& options, SessionListener& listener);

    SessionState getState() const noexcept { return mState; }

    /// Begins the first attempt, or begins anew.
    void start();
    /// Leaves the host; the listener hears nothing of it.
    void stop() noexcept;

    /// Waits until something happens, at most `timeoutMicroseconds` (negative: without limit), and deals with it.
    /// Returns whether more can come: false when the session has ended or was stopped.
    bool step(Common::int32 timeoutMicroseconds);
    /// The same, but the wait ends with the handle, too.
    bool step(Common::int32 timeoutMicroseconds, Wake& wake);
    /// Lets the `step` that calls the listener end behind this message, though more may have come.
    void yield() noexcept { mYields = true; }

    /// Sends the message as soon as the host is ready for it, and returns its ticket. Returns none, and sends nothing,
    /// while the session is not connected.
    template <class Message>
    Ticket send(const Message& message) {
        return mState == SESSION_CONNECTED ? post(message) : cNoTicket;
    }

private:
    struct Reading;

    template <class Message>
    Ticket post(const Message& message) {
        Frame frame = encode(message);
        if (mConnection->getOutbox().needsRequest(frame.size()))
            askForSign();
        Outbox& outbox = mConnection->getOutbox();
        if constexpr (hasReply(Message::cID))
            return outbox.addRequest(std::move(frame), Message::Reply::cID, encodeIdentification(message));
        else
            return outbox.addSilent(std::move(frame));
    }
    void askForSign();
    bool isActive() const noexcept { return mState != SESSION_DISCONNECTED && mState != SESSION_REFUSED; }
    void connect();
    void followConnection();
    void deliverMessages();
    void giveUpRequests();
    void deliver(Common::Memory::MemoryStream& message);
    void failAt(const Failure& failure);
    void enter(SessionState state, Common::uint64 milliseconds) noexcept;
    Common::uint64 getNextDeadline() const noexcept;
    Common::int32 shortenTimeout(Common::int32 timeoutMicroseconds) const noexcept;
    bool isOverdue() const noexcept;

    template <class Message>
    void read(FieldReader& reader);
    void handle(const IdentityReply& reply);

    SessionOptions mOptions;
    SessionListener& mListener;
    SessionState mState = SESSION_DISCONNECTED;
    std::unique_ptr<Connection> mConnection;
    bool mYields = false;
    std::vector<Ticket> mSigns; ///< of requests whose answers mean nothing but that the host is past them
    RetryPause mPause;
    Common::uint64 mAccepted = 0; ///< when, on the performance count in microseconds
    Common::uint64 mDeadline = 0; ///< of the state, in microseconds of the performance count; 0: none
};

} // namespace Tarq::Tool
