#include "common/debugger/handler/setbreakpointmsghandler.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "setBreakpointMessage: { uint32:moduleID; uint32:breakpointInstanceID; bool:newValue }";

} // namespace

SetBreakpointMsgHandler::SetBreakpointMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::SET_BREAKPOINT, cLayout) {}

SetBreakpointMsgHandler::~SetBreakpointMsgHandler() = default;

void SetBreakpointMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mBreakpointInstanceID = 0;
    mNewValue = false;
    mBreakpointInstance = nullptr;
}

bool SetBreakpointMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleID, "moduleID") &&
           readField(reader, mBreakpointInstanceID, "breakpointInstanceID") && readField(reader, mNewValue, "newValue");
}

bool SetBreakpointMsgHandler::find() {
    if (!findModule())
        return refuseClient(1, {") tried to setBreakpoint from unknown module: ", mModuleID});
    const uint32 version = mModule->getVersion();
    if (!isConnected())
        return refuseClient(2, {") tried to setBreakpoint from module (id: ", mModuleID, ", version: ", version,
                                ") that he isn't connected to"});
    mBreakpointInstance = findBreakpointInstance(mBreakpointInstanceID);
    if (!mBreakpointInstance)
        return refuseClient(3, {") tried to setBreakpoint from module (id: ", mModuleID, ", version: ", version,
                                ") that doesn't know the BreakpointInstance: ", mBreakpointInstanceID});
    return mBreakpointInstance->isActive() != mNewValue ||
           refuseClient(4, {") tried to setBreakpoint from module (id: ", mModuleID, ", version: ", version,
                            ") in BreakpointInstance (", mBreakpointInstance->getName(),
                            ") with the same value: ", uint32{mNewValue}});
}

bool SetBreakpointMsgHandler::act(MessageReader&) {
    if (mNewValue)
        mBreakpointInstance->setActive();
    else
        mBreakpointInstance->setInactive();
    return true;
}

void SetBreakpointMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mBreakpointInstanceID);
    builder.write(mNewValue);
}

} // namespace Tarq::Common::Debugger
