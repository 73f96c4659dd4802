#pragma once

#include "tool/client/callbook.h"
#include "tool/client/modulelistener.h"
#include "tool/client/session.h"

#include <functional>
#include <map>
#include <optional>

namespace Tarq::Tool {

/// What has become of a request.
template <class Reply>
struct Answer {
    const Reply* reply = nullptr; ///< null: none has come, or none that can be read
    Common::String problem;       ///< why not
};

/// A tool's stay with one module of a host: knows what the module has, asks, and hears what happens.
///
///     ModuleClient client(options, listener);
///     client.getSession().start();
///     ... // until it is connected
///     client.attach("world", 1, false, [](const Answer<ConnectModuleReply>& answer) { ... });
///     client.ask(request, [](const Answer<GetVariableReply>& answer) { ... });
///
/// Threads: one; everything is called in the session's `step`. The listener outlives the client.
class ModuleClient : private SessionListener {
public:
    template <class Reply>
    using Done = std::function<void(const Answer<Reply>&)>;

    ModuleClient(const SessionOptions& options, ModuleListener& listener)
        : mListener(listener), mSession(options, *this) {}

    Session& getSession() noexcept { return mSession; }
    const ModuleModel& getModel() const noexcept { return mModel; }
    /// Whether the host has given the tool the module, and told all that it has.
    bool isAttached() const noexcept { return mStage == STAGE_ATTACHED; }
    /// Whether a thread of the host is held, as far as it was told.
    bool isHeld() const noexcept { return mIsHeld; }
    /// Whether what is told next may be from before the last `letGo` or `step`.
    bool isCatchingUp() const noexcept { return mNumMarks != 0; }

    /// Asks for the module. `done` is called when the host refuses; when it agrees, after all registrations have come.
    void attach(const ConnectModule& request, const Done<ConnectModuleReply>& done);

    /// Sends a request and calls `done` once: with the answer, or without one when there is a problem.
    template <class Request>
    void ask(const Request& request, Done<typename Request::Reply> done) {
        const Ticket ticket = mSession.send(request);
        if (ticket == cNoTicket) {
            done({nullptr, "there is no connection"});
            return;
        }
        mPending[ticket] = [done = std::move(done)](FieldReader* reader, const Common::String& problem) {
            typename Request::Reply reply;
            if (!reader)
                done({nullptr, problem});
            else if (decode(*reader, reply))
                done({&reply, Common::String()});
            else
                done({nullptr, nameOfMessage(static_cast<Common::uint32>(reply.cID)) + ": " + reader->getProblem()});
        };
    }

    /// Has the host call a function, of the module or not; the listener hears the answer, if there is one. Returns the
    /// call's number; none without a connection.
    std::optional<CallNumber> call(const Call& request);
    CallBook& getCalls() noexcept { return mCalls; }

    // Not answered. False without a connection.

    /// Once, until `letGo`: a host wants to hear it no more often.
    bool breakClient();
    /// Ends a hold also when that is still on its way to the tool. Only one from the moment in which the host is about
    /// to hear of it cannot be told from a later one.
    bool letGo();
    /// Likewise.
    bool step(const MakeStep& step);

private:
    enum Stage : Common::uint8 { STAGE_NONE, STAGE_REGISTERING, STAGE_ATTACHED };
    /// With null and a problem when there is no answer.
    using Pending = std::function<void(FieldReader*, const Common::String&)>;
    struct Reading;

    void onConnecting() override { mListener.onConnecting(); }
    void onAccepted(const IdentityReply& reply) override { mListener.onAccepted(reply); }
    void onRefused(const IdentityReply& reply) override { mListener.onRefused(reply); }
    void onFailure(const Failure& failure) override;
    void onPause(Common::uint32 milliseconds) override { mListener.onPause(milliseconds); }
    void onBadMessage(const Common::String& problem) override { mListener.onBadMessage(problem); }
    void onUnanswered(Common::uint32 replyID, Ticket ticket) override;
    bool onMessage(Common::uint32 id, Ticket ticket, FieldReader& reader) override;
    void onOtherMessage(Common::uint32 id, Common::uint64 numBytes) override { mListener.onOtherMessage(id, numBytes); }

    template <class Message>
    void read(FieldReader& reader);
    void handle(const BreakpointState& state);
    void handle(const ModuleDisconnectForced& message);
    void handle(const ModuleShutdown& message);
    void handle(const ObjectGroupRegistration& registration) { add(ELEMENT_GROUP, registration.groupID, registration); }
    void handle(const ObjectTypeRegistration& registration) { add(ELEMENT_TYPE, registration.typeID, registration); }
    void handle(const ObjectInstanceRegistration& registration) {
        add(ELEMENT_INSTANCE, registration.instanceID, registration);
    }
    void handle(const CallReply& reply);
    void handle(const StreamDataRequest& request) { mListener.onDataRequest(request); }
    void handle(const ObjectTypeUnregistration& message);
    void handle(const ObjectInstanceUnregistration& message);

    template <class Registration>
    void add(ElementKind kind, Common::uint32 id, const Registration& registration);
    void report(const char* what, const std::string& problem);
    void leave();
    void mark();

    ModuleListener& mListener;
    Session mSession;
    ModuleModel mModel;
    Stage mStage = STAGE_NONE;
    bool mIsHeld = false;
    Common::uint32 mNumMarks = 0; ///< that the host has not come to yet
    bool mBreaks = false;         ///< at every breakpoint; beyond the module
    std::map<Ticket, Pending> mPending;
    CallBook mCalls;
};

} // namespace Tarq::Tool
