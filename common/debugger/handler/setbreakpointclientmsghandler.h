#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

/// Has every breakpoint hold in the modules of the sender, until that one continues. No fields, no answer.
class TARQ_API SetBreakpointClientMsgHandler final : public RequestHandler {
public:
    explicit SetBreakpointClientMsgHandler(Server* server) noexcept;
    ~SetBreakpointClientMsgHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;
};

} // namespace Tarq::Common::Debugger
