#include "common/debugger/requesthandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

/// Most answers are short; longer ones take more blocks.
constexpr uint32 cBlockSize = 1024;

} // namespace

RequestHandler::RequestHandler(Server* server, MessageID request, const char* layout) noexcept
    : MessageHandler(static_cast<uint32>(request)), mServer(server), mRequest(request), mLayout(layout) {}

RequestHandler::~RequestHandler() = default;

bool RequestHandler::failToRead(const char* name) const {
    return TARQ_FAIL("Couldn't read the ", name, " out of the ", mLayout);
}

void RequestHandler::refuse(uint8 code, std::initializer_list<Debug::TextPiece> text) {
    mErrorCode = code;
    mErrorText = String();
    for (const Debug::TextPiece& piece : text)
        piece.appendTo(mErrorText);
}

std::unique_ptr<Memory::MemoryStream> RequestHandler::makeMessage() const {
    return std::unique_ptr<Memory::MemoryStream>(new (mServer->getAllocator())
                                                     Memory::MemoryStream("stream", cBlockSize));
}

bool RequestHandler::sendReply(uint32 connectionID, std::unique_ptr<Memory::MemoryStream> message) const {
    if (!mServer->sendMessage(connectionID, message.get()))
        return TARQ_FAIL("Couldn't send returning message back to client");
    static_cast<void>(message.release());
    return true;
}

} // namespace Tarq::Common::Debugger
