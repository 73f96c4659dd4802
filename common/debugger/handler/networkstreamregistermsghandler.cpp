#include "common/debugger/handler/networkstreamregistermsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "registerNetworkStreamMessage: { String:networkStreamName, uint32:networkStreamID, "
                           "uint32:networkStreamLength }";

} // namespace

NetworkStreamRegisterMsgHandler::NetworkStreamRegisterMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::REGISTER_NETWORK_STREAM, cLayout) {}

NetworkStreamRegisterMsgHandler::~NetworkStreamRegisterMsgHandler() = default;

void NetworkStreamRegisterMsgHandler::reset() {
    RequestHandler::reset();
    mName = String();
    mID = 0xFFFFFFFF;
    mLength = 0;
}

bool NetworkStreamRegisterMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!readField(*reader, mName, "networkStreamName") || !readField(*reader, mID, "networkStreamID") ||
        !readField(*reader, mLength, "networkStreamLength"))
        return false;
    registerStream(connection);
    return reply(connection, [this](MessageBuilder& builder) {
        builder.write(mName);
        builder.write(mID);
        builder.write(mLength);
        writeError(builder);
    });
}

void NetworkStreamRegisterMsgHandler::registerStream(uint32 connection) {
    ClientKey client;
    if (!mServer->getClientKey(client, connection)) {
        TARQ_FAIL("Internal Error: ClientInfo missing during: Tried to register a new NetworkStream");
        refuseStream("the client isn't known");
    } else if (mServer->getNetworkStreams().find(mID)) {
        refuseStream("the id is already registered");
    } else if (mName.length() > NetworkStreamRegistry::cLongestName) {
        refuseStream("the name is too long");
    } else if (!mServer->getNetworkStreams().add(*mServer, mID, mName, mLength, connection)) {
        refuseStream("there are too many");
    }
}

void NetworkStreamRegisterMsgHandler::refuseStream(const char* reason) {
    refuse(1, {"Couldn't register NetworkStream ( id: ", mID, ", name: ", mName, ", length: ", mLength, " ) because ",
               reason});
}

} // namespace Tarq::Common::Debugger
