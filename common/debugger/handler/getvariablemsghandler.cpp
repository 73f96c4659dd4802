#include "common/debugger/handler/getvariablemsghandler.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "getVariableMessage: { uint32:moduleID; uint32:objInstanceID; uint32:variableID;}";

} // namespace

GetVariableMsgHandler::GetVariableMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::GET_VARIABLE, cLayout) {}

GetVariableMsgHandler::~GetVariableMsgHandler() = default;

void GetVariableMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mObjectInstanceID = 0;
    mVariableID = 0;
    mObjectInstance = nullptr;
    mValue.reset();
}

bool GetVariableMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleID, "moduleID") && readField(reader, mObjectInstanceID, "objInstanceID") &&
           readField(reader, mVariableID, "variableID");
}

bool GetVariableMsgHandler::find() {
    if (!findModule())
        return refuseClient(1, {") tried to getVariableData from unknown module: ", mModuleID});
    const uint32 version = mModule->getVersion();
    if (!isConnected())
        return refuseClient(2, {") tried to getVariableData from module (id: ", mModuleID, ", version: ", version,
                                ") that he isn't connected to"});
    mObjectInstance = findObjectInstance(mObjectInstanceID);
    // Tools see this text; do not correct it.
    if (!mObjectInstance)
        return refuseClient(3, {") tried to getVariableData from module (id: ", mModuleID, ", version: ", version,
                                ") that doesn't know the bjectInstance: ", mObjectInstanceID});
    return mObjectInstance->findVariable(mVariableID) ||
           refuseClient(4, {") tried to getVariableData from module (id: ", mModuleID, ", version: ", version,
                            ") within ObjectInstance: ", mObjectInstanceID,
                            " that doesn't know the Variable: ", mVariableID});
}

/// The value is whole before the answer says that there is one.
bool GetVariableMsgHandler::act(MessageReader&) {
    mValue = makeStream("value");
    MessageBuilder builder(mValue.get(), true);
    return mObjectInstance->getVariableData(builder, mVariableID) ||
           TARQ_FAIL("Couldn't get variable data from variable (", mVariableID, ") within ObjectInstance (",
                     mObjectInstanceID, ")");
}

void GetVariableMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mObjectInstanceID);
    builder.write(mVariableID);
}

void GetVariableMsgHandler::writeData(MessageBuilder& builder) {
    if (mErrorCode != 0)
        return;
    const std::unique_ptr<Memory::MemoryStream> value = std::move(mValue); // values may be big
    value->seek(0, IO::Stream::SORIGIN_BEGIN);
    builder.writeStream(value.get(), value->getLength(), true);
}

} // namespace Tarq::Common::Debugger
