#include "common/debugger/handler/networkstreamanswermsghandler.h"

#include "common/debugger/server.h"
#include "common/exceptions/internal/guarded.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "updateDataNetworkStreamMessage: { uint32:networkStreamID, dataStream:NetworkStream }";

} // namespace

NetworkStreamAnswerMsgHandler::NetworkStreamAnswerMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::NETWORK_STREAM_DATA, cLayout) {}

NetworkStreamAnswerMsgHandler::~NetworkStreamAnswerMsgHandler() = default;

void NetworkStreamAnswerMsgHandler::reset() {
    RequestHandler::reset();
    mID = 0;
}

bool NetworkStreamAnswerMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!readField(*reader, mID, "networkStreamID"))
        return false;
    const std::unique_ptr<Memory::MemoryStream> data = readData(*reader);
    NetworkStream* const stream = findStream(connection);
    if (!data) {
        // It is not sent again.
        if (stream)
            stream->giveUp();
        return failToRead("mCurStream");
    }
    if (!TARQ_ASSERT_AS(nullptr, stream, "Tried to update unknown NetworkStream"))
        return false;
    return stream->receive(*data) || TARQ_FAIL("Update of NetworkStream resulted in Error");
}

/// Null when there are no data, or no memory for them.
std::unique_ptr<Memory::MemoryStream> NetworkStreamAnswerMsgHandler::readData(MessageReader& reader) const {
    std::unique_ptr<Memory::MemoryStream> data;
    Exceptions::CaughtText caught;
    const bool isRead = Exceptions::runGuarded(caught, [&] {
        data = makeStream("NetworkStreamAnswerMsgHandler internal Stream");
        return reader.readStream(data.get());
    });
    if (!isRead)
        data.reset();
    return data;
}

/// Only the client that has registered a stream has its data. Null for another.
NetworkStream* NetworkStreamAnswerMsgHandler::findStream(uint32 connection) const {
    NetworkStream* const stream = mServer->getNetworkStreams().find(mID);
    return stream && stream->getConnectionID() == connection ? stream : nullptr;
}

} // namespace Tarq::Common::Debugger
