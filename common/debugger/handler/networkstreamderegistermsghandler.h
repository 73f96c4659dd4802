#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

/// Takes a file back that the host could read: uint32 networkStreamID. A thread that reads from it comes back. The
/// answer repeats the ID.
///
/// Code: 1 when there is no such stream.
class TARQ_API NetworkStreamDeregisterMsgHandler final : public RequestHandler {
public:
    explicit NetworkStreamDeregisterMsgHandler(Server* server) noexcept;
    ~NetworkStreamDeregisterMsgHandler() override;

    void reset() override;
    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;

private:
    uint32 mID = 0xFFFFFFFF;
};

} // namespace Tarq::Common::Debugger
