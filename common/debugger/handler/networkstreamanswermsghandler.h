#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

class NetworkStream;

/// Brings the piece of a file that the host has asked for: uint32 networkStreamID, and a container of uint8. Not
/// answered, but for the request of the next piece.
class TARQ_API NetworkStreamAnswerMsgHandler final : public RequestHandler {
public:
    explicit NetworkStreamAnswerMsgHandler(Server* server) noexcept;
    ~NetworkStreamAnswerMsgHandler() override;

    void reset() override;
    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;

private:
    std::unique_ptr<Memory::MemoryStream> readData(MessageReader& reader) const;
    NetworkStream* findStream(uint32 connection) const;

    uint32 mID = 0;
};

} // namespace Tarq::Common::Debugger
