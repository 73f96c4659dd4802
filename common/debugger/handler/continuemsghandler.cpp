#include "common/debugger/handler/continuemsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

ContinueMsgHandler::ContinueMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::CONTINUE, nullptr) {}

ContinueMsgHandler::~ContinueMsgHandler() = default;

bool ContinueMsgHandler::handleMessage(MessageReader*, uint32 connection) {
    reset();
    ClientInfo* client = nullptr;
    return findClient(client, connection) && mServer->makeContinue(client);
}

} // namespace Tarq::Common::Debugger
