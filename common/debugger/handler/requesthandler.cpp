#include "common/debugger/handler/requesthandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

RequestHandler::RequestHandler(Server* server, MessageID request, const char* layout) noexcept
    : MessageHandler(static_cast<uint32>(request)), mServer(server), mRequest(request), mLayout(layout) {}

RequestHandler::~RequestHandler() = default;

bool RequestHandler::failToRead(const char* name) const {
    return TARQ_FAIL("Couldn't read the ", name, " out of the ", mLayout);
}

bool RequestHandler::failToReply() const {
    return TARQ_FAIL("Couldn't send returning message back to client");
}

bool RequestHandler::findClient(ClientInfo*& client, uint32 connectionID) const {
    return TARQ_ASSERT_AS("mServer->getClientInfo(myClientInfo, connectionID)",
                          mServer->getClientInfo(client, connectionID), "Internal Error: ClientInfo missing");
}

void RequestHandler::writeError(MessageBuilder& builder) const {
    builder.write(mErrorCode);
    builder.write(mErrorText);
}

bool RequestHandler::refuse(uint8 code, std::initializer_list<Debug::TextPiece> text) {
    mErrorCode = code;
    mErrorText = String();
    for (const Debug::TextPiece& piece : text)
        piece.appendTo(mErrorText);
    return false;
}

bool RequestHandler::refuse(const ClientInfo& client, uint8 code, std::initializer_list<Debug::TextPiece> text) {
    refuse(code, {"Client (", client.mComputerName, ", ", client.mUserName});
    for (const Debug::TextPiece& piece : text)
        piece.appendTo(mErrorText);
    return false;
}

std::unique_ptr<Memory::MemoryStream> RequestHandler::makeStream(const char* name) const {
    return std::unique_ptr<Memory::MemoryStream>(new (mServer->getAllocator()) Memory::MemoryStream(name, cBlockSize));
}

} // namespace Tarq::Common::Debugger
