#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

/// Offers the host a file of the client's machine: string networkStreamName, uint32 networkStreamID, which the client
/// chooses, uint32 networkStreamLength in bytes. The answer repeats them.
///
/// Code: 1 when the ID is taken, the name is too long, or there are too many streams.
class TARQ_API NetworkStreamRegisterMsgHandler final : public RequestHandler {
public:
    explicit NetworkStreamRegisterMsgHandler(Server* server) noexcept;
    ~NetworkStreamRegisterMsgHandler() override;

    void reset() override;
    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;

private:
    void registerStream(uint32 connection);
    void refuseStream(const char* reason);

    String mName;
    uint32 mID = 0xFFFFFFFF;
    uint32 mLength = 0;
};

} // namespace Tarq::Common::Debugger
