#include "common/debugger/handler/setbreakpointclientmsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

SetBreakpointClientMsgHandler::SetBreakpointClientMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::SET_BREAKPOINT_CLIENT, nullptr) {}

SetBreakpointClientMsgHandler::~SetBreakpointClientMsgHandler() = default;

bool SetBreakpointClientMsgHandler::handleMessage(MessageReader*, uint32 connection) {
    reset();
    ClientInfo* client = nullptr;
    if (!mServer->getClientInfo(client, connection))
        return TARQ_FAIL("Internal Error: Unknown Client tried to set global breakpoint");
    if (client->mBreakflag)
        return TARQ_FAIL("Client (", client->mComputerName, ", ", client->mUserName,
                         ") tried to set BreakflagClient but it was already set");
    return mServer->setClientBreakflag(connection);
}

} // namespace Tarq::Common::Debugger
