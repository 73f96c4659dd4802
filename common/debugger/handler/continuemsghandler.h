#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

/// Lets the thread that is held in a module of the sender go on, and ends the sender's step and its request that every
/// breakpoint holds. No fields, no answer.
class TARQ_API ContinueMsgHandler final : public RequestHandler {
public:
    explicit ContinueMsgHandler(Server* server) noexcept;
    ~ContinueMsgHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;
};

} // namespace Tarq::Common::Debugger
