#include "tool/client/moduleclient.h"

#include "tool/client/quoting.h"

#include <utility>

namespace Tarq::Tool {

using namespace Common;

/// How the messages of one type are read.
struct ModuleClient::Reading {
    MessageID id;
    void (ModuleClient::*read)(FieldReader&);
};

void ModuleClient::attach(const ConnectModule& request, const Done<ConnectModuleReply>& done) {
    ask(request, [this, done](const Answer<ConnectModuleReply>& answer) {
        if (!answer.reply || answer.reply->code != 0) {
            done(answer);
            return;
        }
        mModel.clear(answer.reply->moduleID, answer.reply->breakpointTypes);
        mStage = STAGE_REGISTERING;
        mIsHeld = false;
        // Nothing marks the end of the registrations; but the answer about what no module has comes behind them.
        GetHistory end;
        end.moduleID = answer.reply->moduleID;
        end.instanceID = cNoID;
        ask(end, [this, done, reply = *answer.reply](const Answer<GetHistoryReply>& last) {
            if (last.reply && mStage == STAGE_REGISTERING) {
                mStage = STAGE_ATTACHED;
                mListener.onAttached();
            }
            done({last.reply ? &reply : nullptr, last.problem});
        });
    });
}

std::optional<CallNumber> ModuleClient::call(const Call& request) {
    if (mSession.send(request) == cNoTicket)
        return std::nullopt;
    return mCalls.add(request.name);
}

bool ModuleClient::breakClient() {
    if (mBreaks)
        return true;
    mBreaks = mSession.send(BreakClient()) != cNoTicket;
    return mBreaks;
}

bool ModuleClient::letGo() {
    mark();
    mIsHeld = false;
    mBreaks = false;
    return mSession.send(Continue()) != cNoTicket;
}

bool ModuleClient::step(const MakeStep& step) {
    mark();
    mIsHeld = false;
    return mSession.send(step) != cNoTicket;
}

/// Asks what says nothing, but is answered behind all that the host tells before it hears what is sent next.
void ModuleClient::mark() {
    if (mSession.getState() != SESSION_CONNECTED)
        return;
    GetHistory question;
    question.moduleID = mModel.getModuleID();
    question.instanceID = cNoID;
    ask(question, [this](const Answer<GetHistoryReply>&) {
        --mNumMarks;
        mSession.yield();
    });
    ++mNumMarks;
}

void ModuleClient::onFailure(const Failure& failure) {
    leave();
    mBreaks = false;
    mCalls.clear();
    // Whoever asked may ask again.
    const std::map<Ticket, Pending> pending = std::exchange(mPending, {});
    for (const auto& [ticket, done] : pending)
        done(nullptr, failure.text);
    mListener.onFailure(failure);
}

void ModuleClient::onUnanswered(uint32 replyID, Ticket ticket) {
    mListener.onUnanswered(replyID, ticket);
    const auto found = mPending.find(ticket);
    if (found == mPending.end())
        return;
    const Pending done = std::move(found->second);
    mPending.erase(found);
    done(nullptr, "the host does not answer");
}

bool ModuleClient::onMessage(uint32 id, Ticket ticket, FieldReader& reader) {
    static constexpr Reading cReadings[] = {
        {BreakpointState::cID, &ModuleClient::read<BreakpointState>},
        {ModuleDisconnectForced::cID, &ModuleClient::read<ModuleDisconnectForced>},
        {ObjectGroupRegistration::cID, &ModuleClient::read<ObjectGroupRegistration>},
        {ObjectTypeRegistration::cID, &ModuleClient::read<ObjectTypeRegistration>},
        {ObjectTypeUnregistration::cID, &ModuleClient::read<ObjectTypeUnregistration>},
        {ObjectInstanceRegistration::cID, &ModuleClient::read<ObjectInstanceRegistration>},
        {ObjectInstanceUnregistration::cID, &ModuleClient::read<ObjectInstanceUnregistration>},
        {ModuleShutdown::cID, &ModuleClient::read<ModuleShutdown>},
        {CallReply::cID, &ModuleClient::read<CallReply>},
        {StreamDataRequest::cID, &ModuleClient::read<StreamDataRequest>},
    };
    for (const Reading& reading : cReadings) {
        if (static_cast<uint32>(reading.id) == id) {
            (this->*reading.read)(reader);
            return true;
        }
    }
    const auto found = mPending.find(ticket);
    if (found == mPending.end())
        return false;
    const Pending done = std::move(found->second);
    mPending.erase(found);
    done(&reader, String());
    return true;
}

/// A message about another module is none that somebody waits for.
template <class Message>
void ModuleClient::read(FieldReader& reader) {
    Message message;
    if (!decode(reader, message)) {
        report(nameOfMessage(static_cast<uint32>(Message::cID)).c_str(), std::string(reader.getProblem().view()));
        return;
    }
    if constexpr (requires { message.moduleID; }) {
        if (mStage == STAGE_NONE || message.moduleID != mModel.getModuleID()) {
            report(nameOfMessage(static_cast<uint32>(Message::cID)).c_str(),
                   "module " + std::to_string(message.moduleID) + " is not connected");
            return;
        }
    }
    handle(message);
}

void ModuleClient::report(const char* what, const std::string& problem) {
    mListener.onBadMessage(String(what) + ": " + std::string_view(problem));
}

void ModuleClient::leave() {
    mStage = STAGE_NONE;
    mIsHeld = false;
    mModel.clear(cNoID, {});
}

void ModuleClient::handle(const BreakpointState& state) {
    mIsHeld = mNumMarks == 0;
    mListener.onHold(state);
}

void ModuleClient::handle(const ModuleDisconnectForced& message) {
    leave();
    mListener.onTakenOver(message);
}

void ModuleClient::handle(const ModuleShutdown&) {
    leave();
    mListener.onShutdown();
}

void ModuleClient::handle(const CallReply& reply) {
    const std::optional<CallBook::Match> match = mCalls.answer(reply.name);
    if (match)
        mListener.onCallReply(reply, *match);
    else
        report("remote procedure call reply", "nobody has called " + quote(reply.name.view()));
}

void ModuleClient::handle(const ObjectTypeUnregistration& message) {
    if (mStage == STAGE_ATTACHED && mModel.findType(message.typeID))
        mListener.onRemoved({ELEMENT_TYPE, message.typeID});
    const std::string problem = mModel.remove(message);
    if (!problem.empty())
        report("object type unregistration", problem);
}

void ModuleClient::handle(const ObjectInstanceUnregistration& message) {
    if (mStage == STAGE_ATTACHED && mModel.findInstance(message.instanceID))
        mListener.onRemoved({ELEMENT_INSTANCE, message.instanceID});
    const std::string problem = mModel.remove(message);
    if (!problem.empty())
        report("object instance unregistration", problem);
}

template <class Registration>
void ModuleClient::add(ElementKind kind, uint32 id, const Registration& registration) {
    const std::string problem = mModel.add(registration);
    if (!problem.empty())
        report(nameOfMessage(static_cast<uint32>(Registration::cID)).c_str(), problem);
    else if (mStage == STAGE_ATTACHED)
        mListener.onRegistered({kind, id});
}

} // namespace Tarq::Tool
