#pragma once

#include "tool/client/failure.h"
#include "tool/client/fieldreader.h"
#include "tool/client/messages.h"
#include "tool/client/outbox.h"

namespace Tarq::Tool {

/// Hears what happens in a `Session`, on the thread that calls its `step`.
///
/// A listener may start and stop the session, send, and throw: that passes through `step`, and the session can go on.
/// It does not destroy the session.
class SessionListener {
public:
    virtual ~SessionListener() = default;

    // What becomes of the connection.

    virtual void onConnecting() {}
    /// The host has accepted the tool.
    virtual void onAccepted(const IdentityReply&) {}
    /// The host has refused the tool. The session has ended.
    virtual void onRefused(const IdentityReply&) {}
    /// An attempt has failed, or a connection has ended. The session goes on after a pause, or has ended.
    virtual void onFailure(const Failure&) {}
    virtual void onPause(Common::uint32 /*milliseconds*/) {}

    // What the host says.

    /// A message that is known, and is not as it should be. It is left out.
    virtual void onBadMessage(const Common::String& /*problem*/) {}
    /// A request was not answered in time by the message of that type. It may still come.
    virtual void onUnanswered(Common::uint32 /*replyID*/, Ticket) {}
    /// A message, whose reader stands behind the type. When it answers a request, this one's ticket is given. Returns
    /// whether somebody reads messages of that type.
    virtual bool onMessage(Common::uint32 /*id*/, Ticket, FieldReader&) { return false; }
    /// A message that nobody reads.
    virtual void onOtherMessage(Common::uint32 /*id*/, Common::uint64 /*numBytes*/) {}
};

} // namespace Tarq::Tool
