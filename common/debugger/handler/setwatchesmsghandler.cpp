#include "common/debugger/handler/setwatchesmsghandler.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] =
    "setWatchMessage: { uint32:moduleID; uint32:objInstanceID; uint32:variableID, bool:newFlag }";

} // namespace

SetWatchesMsgHandler::SetWatchesMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::SET_WATCHES, cLayout) {}

SetWatchesMsgHandler::~SetWatchesMsgHandler() = default;

void SetWatchesMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mObjectInstanceID = 0;
    mVariableID = 0;
    mNewFlag = false;
    mObjectInstance = nullptr;
}

bool SetWatchesMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleID, "moduleID") && readField(reader, mObjectInstanceID, "objInstanceID") &&
           readField(reader, mVariableID, "variableID") && readField(reader, mNewFlag, "newFlag");
}

bool SetWatchesMsgHandler::find() {
    if (!findModule())
        return refuseClient(1, {") tried to setWatch from unknown module: ", mModuleID});
    const String& name = mModule->getName();
    const uint32 version = mModule->getVersion();
    if (!isConnected())
        return refuseClient(2, {") tried to setWatch from module (name: ", name, ", version: ", version,
                                ") that he isn't connected to"});
    mObjectInstance = findObjectInstance(mObjectInstanceID);
    if (!mObjectInstance)
        return refuseClient(3, {") tried to setWatch from module (name: ", name, ", version: ", version,
                                ") that doesn't know the ObjectInstance: ", mObjectInstanceID});
    const String& instance = mObjectInstance->getName();
    if (!mObjectInstance->findVariable(mVariableID))
        return refuseClient(4, {") tried to setWatch from module (name: ", name, ", version: ", version,
                                ") from ObjectInstance ( ", instance, " ) that doesn't know the variable (",
                                mVariableID, ")"});
    return mObjectInstance->isWatchedVariable(mVariableID) != mNewFlag ||
           refuseClient(5, {") tried to setWatch from module (name: ", name, ", version: ", version,
                            ") from ObjectInstance ( ", instance, " ) to the variable (", mVariableID,
                            ") with same value (", uint32{mNewFlag}, ")"});
}

bool SetWatchesMsgHandler::act(MessageReader&) {
    if (mNewFlag)
        return TARQ_ASSERT_AS("objectInstance->registerWatchedVariable(mVariableID)",
                              mObjectInstance->registerWatchedVariable(mVariableID),
                              "Internal Error: couldn't register new watch on known variable");
    return TARQ_ASSERT_AS("objectInstance->unregisterWatchedVariable(mVariableID)",
                          mObjectInstance->unregisterWatchedVariable(mVariableID),
                          "Internal Error: couldn't unregister known watched variable");
}

void SetWatchesMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mObjectInstanceID);
    builder.write(mVariableID);
    builder.write(mNewFlag);
}

} // namespace Tarq::Common::Debugger
