#include "common/debugger/handler/networkstreamderegistermsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "deregisterNetworkStreamMessage: { uint32:networkStreamID }";

} // namespace

NetworkStreamDeregisterMsgHandler::NetworkStreamDeregisterMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::DEREGISTER_NETWORK_STREAM, cLayout) {}

NetworkStreamDeregisterMsgHandler::~NetworkStreamDeregisterMsgHandler() = default;

void NetworkStreamDeregisterMsgHandler::reset() {
    RequestHandler::reset();
    mID = 0xFFFFFFFF;
}

bool NetworkStreamDeregisterMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!readField(*reader, mID, "networkStreamID"))
        return false;
    if (!mServer->getNetworkStreams().remove(mID))
        refuse(1, {"Couldn't deregister NetworkStream ( id: ", mID, " ) because it isn't registered"});
    return reply(connection, [this](MessageBuilder& builder) {
        builder.write(mID);
        writeError(builder);
    });
}

} // namespace Tarq::Common::Debugger
