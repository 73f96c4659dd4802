#include "common/debugger/handler/setbreakpointobjectinstancemsghandler.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] =
    "setBreakpointObjectInstanceMessage: { uint32:ModuleID, uint32:ObjectInstanceID, bool:newValue }";

} // namespace

SetBreakpointObjectInstanceMsgHandler::SetBreakpointObjectInstanceMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::SET_BREAKPOINT_OBJECT_INSTANCE, cLayout) {}

SetBreakpointObjectInstanceMsgHandler::~SetBreakpointObjectInstanceMsgHandler() = default;

void SetBreakpointObjectInstanceMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mObjectInstanceID = 0;
    mNewValue = false;
    mObjectInstance = nullptr;
}

bool SetBreakpointObjectInstanceMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleID, "ModuleID") && readField(reader, mObjectInstanceID, "ObjectInstanceID") &&
           readField(reader, mNewValue, "newValue");
}

bool SetBreakpointObjectInstanceMsgHandler::find() {
    if (!findModule())
        return refuseClient(1, {") tried to setBreakpointObjectInstance from unknown module: ", mModuleID});
    const String& name = mModule->getName();
    const uint32 version = mModule->getVersion();
    if (!isConnected())
        return refuseClient(2, {") tried to setBreakpointObjectInstance from module (name: ", name,
                                ", version: ", version, ") that he isn't connected to"});
    mObjectInstance = findObjectInstance(mObjectInstanceID);
    if (!mObjectInstance)
        return refuseClient(3, {") tried to setBreakpointObjectInstance from module (name: ", name,
                                ", version: ", version, ") that doesn't know the ObjectInstance: ", mObjectInstanceID});
    return mObjectInstance->isBreakflagSet() != mNewValue ||
           refuseClient(4, {") tried to setBreakpointObjectInstance from module (name: ", name, ", version: ", version,
                            ") from ObjectInstance (name: ", mObjectInstance->getName(), ") with same value (",
                            uint32{mNewValue}, ")"});
}

bool SetBreakpointObjectInstanceMsgHandler::act(MessageReader&) {
    mObjectInstance->setBreakflag(mNewValue);
    return true;
}

void SetBreakpointObjectInstanceMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mObjectInstanceID);
    builder.write(mNewValue);
}

} // namespace Tarq::Common::Debugger
