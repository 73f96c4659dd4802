#pragma once

#include "tool/client/callbook.h"
#include "tool/client/modulemodel.h"
#include "tool/client/sessionlistener.h"

namespace Tarq::Tool {

/// Hears what happens in a `ModuleClient`, on the thread that calls its `step`; beside what becomes of the connection.
class ModuleListener : public SessionListener {
public:
    /// All is known that the module has. What is registered until then is not told.
    virtual void onAttached() {}
    /// Another tool has taken the module. The model is empty by then, as after the other ends.
    virtual void onTakenOver(const ModuleDisconnectForced&) {}
    /// The host has destroyed the module.
    virtual void onShutdown() {}

    /// An element has come.
    virtual void onRegistered(ElementID) {}
    /// An element goes; the model has it still. Of a type all instances go.
    virtual void onRemoved(ElementID) {}
    /// A thread of the host is held, or was: `ModuleClient::isHeld` knows whether it was let go since.
    virtual void onHold(const BreakpointState&) {}

    // Beyond the module.

    /// A call has been answered.
    virtual void onCallReply(const CallReply&, const CallBook::Match&) {}
    /// A thread of the host waits for bytes of a stream.
    virtual void onDataRequest(const StreamDataRequest&) {}
};

} // namespace Tarq::Tool
