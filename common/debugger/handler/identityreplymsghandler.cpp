#include "common/debugger/handler/identityreplymsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "clientInfo: { string:ComputerName; string:UserName, uint32:protocolVersion }";

} // namespace

IdentityReplyMsgHandler::IdentityReplyMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::IDENTITY, cLayout) {}

IdentityReplyMsgHandler::~IdentityReplyMsgHandler() = default;

void IdentityReplyMsgHandler::reset() {
    RequestHandler::reset();
    mComputerName = String();
    mUserName = String();
    mProtocolVersion = 0;
}

bool IdentityReplyMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!readFields(*reader))
        return false;
    if (mProtocolVersion != PROTOCOL_VERSION)
        refuseVersion();
    else if (!accept(connection))
        return false;
    return reply(connection, [this](MessageBuilder& builder) { writeError(builder); });
}

bool IdentityReplyMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mComputerName, "ComputerName") && readField(reader, mUserName, "UserName") &&
           readField(reader, mProtocolVersion, "protocolVersion");
}

bool IdentityReplyMsgHandler::accept(uint32 connection) {
    return mServer->setClientInfo(connection, mComputerName, mUserName, mProtocolVersion) ||
           TARQ_FAIL("Error setting ClientInfo although ProtocolVersion checked before");
}

/// The client stays connected, without a name.
void IdentityReplyMsgHandler::refuseVersion() {
    refuse(1, {"Client ( PCName: ", mComputerName, ", user: ", mUserName, ", protocolVersion: ", mProtocolVersion,
               " ) used wrong protocolNumber. Server used (", PROTOCOL_VERSION, ")"});
}

} // namespace Tarq::Common::Debugger
