#include "common/debugger/handler/setbreakpointconditionmsghandler.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] =
    "setBreakpointConditionMessage: { uint32:moduleID; uint32:breakpointInstanceID; uint08[]:conditionStream }";

} // namespace

SetBreakpointConditionMsgHandler::SetBreakpointConditionMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::SET_BREAKPOINT_CONDITION, cLayout) {}

SetBreakpointConditionMsgHandler::~SetBreakpointConditionMsgHandler() = default;

void SetBreakpointConditionMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mBreakpointInstanceID = 0;
    mBreakpointInstance = nullptr;
    mConditionStream = makeStream("BreakpointConditionStream");
}

bool SetBreakpointConditionMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleID, "moduleID") &&
           readField(reader, mBreakpointInstanceID, "breakpointInstanceID") &&
           (reader.readStream(mConditionStream.get()) || failToRead("conditionStream"));
}

bool SetBreakpointConditionMsgHandler::find() {
    if (!findModule())
        return refuseClient(1, {") tried to setBreakpointCondition from unknown module: ", mModuleID});
    const uint32 version = mModule->getVersion();
    if (!isConnected())
        return refuseClient(2, {") tried to setBreakpointCondition from module (id: ", mModuleID,
                                ", version: ", version, ") that he isn't connected to"});
    mBreakpointInstance = findBreakpointInstance(mBreakpointInstanceID);
    return mBreakpointInstance ||
           refuseClient(3, {") tried to setBreakpointCondition from module (id: ", mModuleID, ", version: ", version,
                            ") that doesn't know the BreakpointInstance: ", mBreakpointInstanceID});
}

bool SetBreakpointConditionMsgHandler::act(MessageReader&) {
    mConditionStream->seek(0, IO::Stream::SORIGIN_BEGIN); // it stands behind what was received
    switch (const int32 result = mBreakpointInstance->setCondition(mConditionStream.get())) {
    case BreakpointInstance::CONDITION_SET:
        return true;
    case BreakpointInstance::CONDITION_NOT_BOOLEAN:
        // Tools see this text; do not correct it.
        refuseClient(4, {") tried to setBreakpointCondition from module (id: ", mModuleID,
                         ", version: ", mModule->getVersion(), ") in BreakpointInstance (",
                         mBreakpointInstance->getName(), ") to a condition that isnt of type bool"});
        return true;
    default:
        return TARQ_FAIL("Internal error: BreakpointInstance::setCondition returns unknown resultCode:", result);
    }
}

void SetBreakpointConditionMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mBreakpointInstanceID);
}

} // namespace Tarq::Common::Debugger
