#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

class Module;

/// Disconnects the sender from a module; a thread that is held there goes on: uint32 moduleID. The answer repeats it.
///
/// Codes: 1 no such module, 2 not connected to it.
class TARQ_API ModuleDisconnectMsgHandler final : public RequestHandler {
public:
    explicit ModuleDisconnectMsgHandler(Server* server) noexcept;
    ~ModuleDisconnectMsgHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;
    void reset() override;

private:
    bool findClient(uint32 connection);
    bool disconnect(uint32 connection);
    Module* find();

    uint32 mModuleID = 0;
    ClientInfo* mClient = nullptr;
};

} // namespace Tarq::Common::Debugger
