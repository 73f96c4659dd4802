#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

/// Lets the thread that is held in a module of the sender go on to the next breakpoint: bool objectInstanceFilter, for
/// one of the same object instance only; uint32 breakpointTypeFilterID, for one of that type only, 0xFFFFFFFF for any.
/// No answer but the state of that breakpoint.
class TARQ_API MakeStepMsgHandler final : public RequestHandler {
public:
    explicit MakeStepMsgHandler(Server* server) noexcept;
    ~MakeStepMsgHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;
};

} // namespace Tarq::Common::Debugger
