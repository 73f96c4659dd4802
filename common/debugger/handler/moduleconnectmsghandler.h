#pragma once

#include "common/debugger/handler/requesthandler.h"

namespace Tarq::Common::Debugger {

class Module;

/// Connects the sender to a module: string moduleName, uint32 moduleVersion, bool forceConnect, to take it from another
/// client, which is told.
///
/// The answer repeats name and version; behind code 0 and text follow uint32 moduleID, a uint32, the number of
/// breakpoint types, and of each of these its name and its id. Then come the registrations of all that is attached.
///
/// Codes: 1 no such module, or none that is attached, 2 another client has it, 3 the sender has it already.
class TARQ_API ModuleConnectMsgHandler final : public RequestHandler {
public:
    explicit ModuleConnectMsgHandler(Server* server) noexcept;
    ~ModuleConnectMsgHandler() override;

    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;
    void reset() override;

private:
    bool readFields(MessageReader& reader);
    bool findClient(uint32 connection);
    Module* find();
    bool refuseSecond(uint8 code);
    void takeOver(Module& module) const;
    void writeModule(MessageBuilder& builder, const Module& module) const;

    String mModuleName;
    uint32 mModuleVersion = 0;
    bool mForceConnect = false;
    ClientInfo* mClient = nullptr;
};

} // namespace Tarq::Common::Debugger
