#pragma once

#include "tool/client/frame.h"
#include "tool/client/messageid.h"

#include <deque>
#include <span>

namespace Tarq::Tool {

/// The messages that wait to be sent, oldest first, and how much of what was sent a host has not answered yet.
///
/// A host that is behind takes bytes as they fit, and may find the first half of a length where it wants all of it. So
/// the requests that it has not answered stay small enough to lie in one packet. A message longer than that travels
/// alone. Some are never answered: a host may drop what it cannot read. These are given up after a while, as the rest
/// would wait for ever.
class Outbox {
public:
    /// `maxUnanswered` in bytes, with the lengths.
    explicit Outbox(Common::uint32 maxUnanswered) noexcept : mMaxUnanswered(maxUnanswered) {}

    /// Takes a request that the host answers.
    void addRequest(Frame frame, MessageID reply);
    /// Takes a message that the host does not answer. What was sent of these is not counted, so they are to be few.
    void addSilent(Frame frame);

    /// What is to be sent next, the rest of one message; nothing while the host has to answer first.
    std::span<const Common::uint8> getNext() const;
    /// So many bytes of that were sent, at that time.
    void take(Common::uint32 count, Common::uint64 microseconds);
    /// A message of that type has come: the oldest request that waits for it is answered.
    void answer(Common::uint32 id);

    Common::uint32 getUnanswered() const noexcept { return mUnanswered; }
    bool isWaiting() const noexcept { return !mSent.empty(); }
    /// When the oldest of the requests was sent that wait for an answer; there is one.
    Common::uint64 getOldestTime() const noexcept { return mSent.front().microseconds; }
    /// Waits no longer for the answer to that one, and returns the answer's type.
    Common::uint32 giveUpOldest();

private:
    struct Waiting {
        Frame frame;
        Common::uint32 reply; ///< 0: none
    };
    struct Sent {
        Common::uint32 reply;
        Common::uint32 numBytes;
        Common::uint64 microseconds;
    };

    Common::uint32 mMaxUnanswered;
    Common::uint32 mUnanswered = 0; ///< bytes of `mSent`
    Common::uint32 mTaken = 0;      ///< bytes of the oldest message that were sent
    std::deque<Waiting> mWaiting;
    std::deque<Sent> mSent; ///< oldest first
};

} // namespace Tarq::Tool
