#include "common/debugger/handler/setvariablemsghandler.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] =
    "setVariableMessage: { uint32:moduleID; uint32:objInstanceID; uint32:variableID; uint08[]:Data}";

} // namespace

SetVariableMsgHandler::SetVariableMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::SET_VARIABLE, cLayout) {}

SetVariableMsgHandler::~SetVariableMsgHandler() = default;

void SetVariableMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mObjectInstanceID = 0;
    mVariableID = 0;
    mObjectInstance = nullptr;
}

/// The value stays in the reader, until it is known what it has to be.
bool SetVariableMsgHandler::readFields(MessageReader& reader) {
    if (!readField(reader, mModuleID, "mModuleID") || !readField(reader, mObjectInstanceID, "objInstanceID") ||
        !readField(reader, mVariableID, "variableName"))
        return false;
    return !reader.isFinished() || TARQ_FAIL("No data to set to variable out of the ", getLayout());
}

bool SetVariableMsgHandler::find() {
    if (!findModule())
        return refuseClient(1, {") tried to setVariableData from unknown module: ", mModuleID});
    const uint32 version = mModule->getVersion();
    if (!isConnected())
        return refuseClient(2, {") tried to setVariableData from module (id: ", mModuleID, ", version: ", version,
                                ") that he isn't connected to"});
    mObjectInstance = findObjectInstance(mObjectInstanceID);
    if (!mObjectInstance)
        return refuseClient(3, {") tried to setVariableData from module (id: ", mModuleID, ", version: ", version,
                                ") that doesn't know the ObjectInstance: ", mObjectInstanceID});
    return mObjectInstance->findVariable(mVariableID) || refuseUnknown();
}

bool SetVariableMsgHandler::act(MessageReader& reader) {
    switch (mObjectInstance->setVariableData(mVariableID, reader)) {
    case VariableInstance::VARIABLE_WRITTEN:
        return true;
    case VariableInstance::VARIABLE_UNKNOWN:
        refuseUnknown();
        return true;
    case VariableInstance::VARIABLE_MISMATCH:
    case VariableInstance::VARIABLE_READ_ONLY:
        refuseMismatch();
        return true;
    }
    return TARQ_FAIL("SetVariable returned unknown result");
}

bool SetVariableMsgHandler::refuseUnknown() {
    return refuseClient(4, {") tried to setVariableData from module (id: ", mModuleID,
                            ", version: ", mModule->getVersion(), ") within ObjectInstance: ", mObjectInstanceID,
                            " that doesn't know the Variable: ", mVariableID});
}

bool SetVariableMsgHandler::refuseMismatch() {
    return refuseClient(5, {") tried to setVariableData from module (id: ", mModuleID,
                            ", version: ", mModule->getVersion(), ") within ObjectInstance: ", mObjectInstanceID,
                            " with data for the Variable: ", mVariableID, " that doesn't match the variable"});
}

void SetVariableMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mObjectInstanceID);
    builder.write(mVariableID);
}

} // namespace Tarq::Common::Debugger
