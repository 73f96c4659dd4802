#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

/// Takes up who a client is: string ComputerName, string UserName, uint32 protocolVersion. Answers with a uint08, 0 for
/// accepted and 1 for another version of the protocol, and a string that says so.
class TARQ_API IdentityReplyMsgHandler final : public RequestHandler {
public:
    explicit IdentityReplyMsgHandler(Server* server) noexcept;
    ~IdentityReplyMsgHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;
    void reset() override;

private:
    bool readFields(MessageReader& reader);
    bool accept(uint32 connection);
    void refuseVersion();

    String mComputerName;
    String mUserName;
    uint32 mProtocolVersion = 0;
};

} // namespace Tarq::Common::Debugger
