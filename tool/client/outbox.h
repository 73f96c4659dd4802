#pragma once

#include "tool/client/frame.h"
#include "tool/client/messageid.h"

#include "common/io/stream.h"

#include <deque>
#include <span>

namespace Tarq::Tool {

/// A message that was sent, from the one that sends it to its answer; above 0.
using Ticket = Common::uint32;
inline constexpr Ticket cNoTicket = 0;

/// The messages that wait to be sent, oldest first, and what of those that were sent a host has not dealt with yet.
///
/// A host that is behind takes bytes as they fit, and may find the first half of a length where it wants all of it. So
/// what it has not dealt with stays small enough to lie in one packet. A message longer than that travels alone. A host
/// deals with messages in their order: an answer tells that it has come past the silent ones before that request, too.
/// Some requests are never answered: a host may drop what it cannot read. These are given up after a while, as the rest
/// would wait for ever.
class Outbox {
public:
    /// `maxUnanswered` in bytes, with the lengths.
    explicit Outbox(Common::uint32 maxUnanswered) noexcept : mMaxUnanswered(maxUnanswered) {}

    /// Takes a request that the host answers with a message of type `reply`, which begins with `identification` behind
    /// its type.
    Ticket addRequest(Frame frame, MessageID reply, Frame identification);
    /// Takes a message that the host does not answer.
    Ticket addSilent(Frame frame);
    /// Whether a request has to come before the next message, of so many bytes, so that an answer tells what has become
    /// of the silent ones: they are a good part of what may be under way.
    bool needsRequest(Common::uint32 numBytes) const noexcept {
        return mSilentTail != 0 && Common::uint64{mSilentTail} + numBytes > mMaxUnanswered / 2;
    }

    /// What is to be sent next, the rest of one message; nothing while the host has to answer first.
    std::span<const Common::uint8> getNext() const;
    /// So many bytes of that were sent, at that time.
    void take(Common::uint32 count, Common::uint64 microseconds);
    /// A message of that type has come, with these bytes behind its type: the oldest request that waits for such a one
    /// is answered; when there is none, the oldest that was given up. Returns its ticket, or none. The stream stays
    /// where it is.
    Ticket answer(Common::uint32 id, Common::IO::Stream& fields);

    /// Silent messages that were not sent.
    std::size_t countSilent() const noexcept { return mNumSilent; }
    Common::uint32 getUnanswered() const noexcept { return mUnanswered; }
    bool isWaiting() const noexcept { return mNumWaiting != 0; }
    /// When the oldest of the requests was sent that wait for an answer; there is one.
    Common::uint64 getOldestTime() const noexcept;
    struct GivenUp {
        Common::uint32 reply;
        Ticket ticket;
    };
    /// Waits no longer for the answer to that one, and returns the answer's type.
    GivenUp giveUpOldest();

private:
    struct Message {
        Frame frame;          ///< empty when it was sent
        Common::uint32 reply; ///< 0: none
        Ticket ticket;
        Common::uint32 numBytes;
        Common::uint64 microseconds;
        Frame identification;
    };
    using Messages = std::deque<Message>;

    Ticket add(Frame frame, Common::uint32 reply, Frame identification);
    void settle(Messages::iterator request);

    Common::uint32 mMaxUnanswered;
    Common::uint32 mUnanswered = 0; ///< bytes of `mSent`
    Common::uint32 mTaken = 0;      ///< bytes of the oldest message that were sent
    Common::uint32 mSilentTail = 0; ///< bytes of the silent messages behind the last request
    Common::uint32 mNumWaiting = 0; ///< requests in `mSent`
    std::size_t mNumSilent = 0;     ///< silent messages in `mWaiting`
    Ticket mLastTicket = cNoTicket;
    Messages mWaiting;
    Messages mSent;    ///< oldest first
    Messages mGivenUp; ///< the last few; all are older than what waits for an answer in `mSent`
};

} // namespace Tarq::Tool
