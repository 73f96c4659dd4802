#include "common/debugger/handler/gethistorymsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "getHistoryMessage: { uint32:moduleID, uint32:objectInstanceID }";

} // namespace

GetHistoryMsgHandler::GetHistoryMsgHandler(Server* server) noexcept
    : ModuleRequestHandler(server, MessageID::GET_HISTORY, cLayout) {}

GetHistoryMsgHandler::~GetHistoryMsgHandler() = default;

void GetHistoryMsgHandler::reset() {
    ModuleRequestHandler::reset();
    mObjectInstanceID = 0;
}

bool GetHistoryMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleID, "moduleID") && readField(reader, mObjectInstanceID, "objectInstanceID");
}

bool GetHistoryMsgHandler::find() {
    if (!findModule())
        return refuse(1, {"Tried to get history for unknown module (moduleID: ", mModuleID, ")"});
    if (!isConnected())
        return refuse(2, {"Tried to get history for module (moduleName: ", mModule->getName(),
                          ", moduleID: ", mModuleID, ") that isn't connected to this Client"});
    // Tools see this text; do not correct it.
    return findObjectInstance(mObjectInstanceID) ||
           refuse(3, {"Tried to get history for ObjectInstance (id: ", mObjectInstanceID,
                      ") within module (moduleName: ", mModule->getName(), ", moduleID: ", mModuleID,
                      ") that isn't connected to this Client"});
}

bool GetHistoryMsgHandler::act(MessageReader&) {
    return true;
}

void GetHistoryMsgHandler::writeFields(MessageBuilder& builder) const {
    builder.write(mModuleID);
    builder.write(mObjectInstanceID);
}

void GetHistoryMsgHandler::writeData(MessageBuilder& builder) {
    builder.write(mServer->getGameTime().mCount);
    builder.write(Server::getSystemTime().mCount);
    if (mErrorCode != 0)
        return;
    static constexpr HistoryEntries cNone;
    const HistoryEntries* entries = &cNone;
    mModule->getHistory().getEntries(mObjectInstanceID, entries);
    builder.write(entries->size());
    for (const HistoryEntry* const entry : *entries)
        entry->write(builder);
}

} // namespace Tarq::Common::Debugger
