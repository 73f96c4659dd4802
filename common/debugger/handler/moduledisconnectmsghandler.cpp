#include "common/debugger/handler/moduledisconnectmsghandler.h"

#include "common/debugger/model/module.h"
#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "disconnectModuleMessage: { uint32:moduleID }";

} // namespace

ModuleDisconnectMsgHandler::ModuleDisconnectMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::DISCONNECT_MODULE, cLayout) {}

ModuleDisconnectMsgHandler::~ModuleDisconnectMsgHandler() = default;

void ModuleDisconnectMsgHandler::reset() {
    RequestHandler::reset();
    mModuleID = 0;
    mClient = nullptr;
}

bool ModuleDisconnectMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    return readField(*reader, mModuleID, "moduleID") &&
           (disconnect(connection) || TARQ_FAIL("Couldn't disconnect module ( id: ", mModuleID, " ) for client"));
}

bool ModuleDisconnectMsgHandler::disconnect(uint32 connection) {
    if (!findClient(connection))
        return false;
    if (Module* const module = find()) {
        if (module->isBreakpointHolding())
            mServer->makeContinue(mClient);
        mServer->disconnectModule(*module);
    }
    const bool isSent = sendReply(connection, [this](MessageBuilder& builder) {
        builder.write(mModuleID);
        writeError(builder);
    });
    return isSent || TARQ_FAIL("Couldn't send successful module disconnect message to client");
}

bool ModuleDisconnectMsgHandler::findClient(uint32 connection) {
    ClientKey key;
    if (!mServer->getClientKey(key, connection))
        return TARQ_FAIL("Tried to disconnect client to module but the socket determining the client isn't known "
                         "within the server");
    return mServer->getClientInfo(mClient, connection) ||
           TARQ_FAIL("Internal error: no clientInfo available for communicating socket");
}

/// Null when the request is refused.
Module* ModuleDisconnectMsgHandler::find() {
    Module* const module = mServer->findModule(mModuleID);
    if (!module)
        refuse(*mClient, 1, {") tried to disconnect from module: ", mModuleID, " that isn't known"});
    else if (module->getClient() != mClient)
        refuse(*mClient, 2, {") tried to disconnect from module: ", mModuleID, " that isn't connected to this Client"});
    return mErrorCode == 0 ? module : nullptr;
}

} // namespace Tarq::Common::Debugger
