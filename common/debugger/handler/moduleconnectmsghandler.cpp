#include "common/debugger/handler/moduleconnectmsghandler.h"

#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/module.h"
#include "common/debugger/server.h"
#include "common/exceptions/internal/guarded.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "connectModuleMessage: { string:moduleName; uint32:moduleVersion; bool:forceConnect }";

/// Lets a thread go on that is held in the module, if that has no client in the end: it may have been taken from one
/// that would have done so.
class AbandonedRelease {
public:
    AbandonedRelease(Server& server, const Module* module) noexcept : mServer(server), mModule(module) {}
    ~AbandonedRelease() {
        if (mModule)
            mServer.releaseAbandoned(*mModule);
    }
    AbandonedRelease(const AbandonedRelease&) = delete;
    AbandonedRelease& operator=(const AbandonedRelease&) = delete;

private:
    Server& mServer;
    const Module* mModule;
};

} // namespace

ModuleConnectMsgHandler::ModuleConnectMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::CONNECT_MODULE, cLayout) {}

ModuleConnectMsgHandler::~ModuleConnectMsgHandler() = default;

void ModuleConnectMsgHandler::reset() {
    RequestHandler::reset();
    mModuleName = String();
    mModuleVersion = 0;
    mForceConnect = false;
    mClient = nullptr;
}

bool ModuleConnectMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!readFields(*reader) || !findClient(connection))
        return false;
    Module* const module = find();
    const AbandonedRelease release(*mServer, module);
    if (module && module->getClient())
        takeOver(*module);
    const bool isSent = sendReply(connection, [&](MessageBuilder& builder) {
        builder.write(mModuleName);
        builder.write(mModuleVersion);
        writeError(builder);
        if (module)
            writeModule(builder, *module);
    });
    if (!isSent)
        return TARQ_FAIL("Couldn't send successful module connect message to client");
    return !module || module->connectClient(mClient);
}

bool ModuleConnectMsgHandler::readFields(MessageReader& reader) {
    return readField(reader, mModuleName, "moduleName") && readField(reader, mModuleVersion, "moduleVersion") &&
           readField(reader, mForceConnect, "forceConnect flag");
}

bool ModuleConnectMsgHandler::findClient(uint32 connection) {
    ClientKey key;
    if (!mServer->getClientKey(key, connection))
        return TARQ_FAIL("Tried to connect client to module but the connectionID determining the client isn't known "
                         "within the server");
    return mServer->getClientInfo(mClient, connection) ||
           TARQ_FAIL("Internal error: no clientInfo available for communicating connectionID");
}

/// Null when the request is refused.
Module* ModuleConnectMsgHandler::find() {
    Module* const module = mServer->findModule(mModuleName, mModuleVersion);
    bool isFound = false;
    if (!module)
        refuse(*mClient, 1, {") tried to connect to unknown module: ", mModuleName, ", version: ", mModuleVersion});
    else if (!module->isAttached())
        refuse(*mClient, 1,
               {") tried to connect to known module ( ", mModuleName, ", version: ", mModuleVersion,
                " ) that isn't attached"});
    else if (module->getClient() == mClient)
        refuseSecond(3);
    else if (module->getClient() && !mForceConnect)
        refuseSecond(2);
    else
        isFound = true;
    return isFound ? module : nullptr;
}

bool ModuleConnectMsgHandler::refuseSecond(uint8 code) {
    return refuse(*mClient, code,
                  {") tried to connect to module: ", mModuleName, ", version: ", mModuleVersion,
                   ") for second time (is already connected)"});
}

/// A thread that is held there stays held. The client before may not hear of it, for whatever reason.
void ModuleConnectMsgHandler::takeOver(Module& module) const {
    const uint32 before = module.getClient()->mConnectionID;
    mServer->disconnectModule(module);
    Exceptions::CaughtText caught;
    const bool isSent = Exceptions::runGuarded(caught, [&] {
        return send(before, MessageID::MODULE_DISCONNECT_FORCED, [&](MessageBuilder& builder) {
            builder.write(module.getModuleID());
            builder.write(mClient->mComputerName);
            builder.write(mClient->mUserName);
        });
    });
    if (!isSent)
        TARQ_FAIL("Couldn't send module disconnect forced message to client");
}

void ModuleConnectMsgHandler::writeModule(MessageBuilder& builder, const Module& module) const {
    builder.write(module.getModuleID());
    builder.write(module.getBreakpointTypes().size());
    for (const BreakpointType* const type : module.getBreakpointTypes()) {
        builder.write(type->getName());
        builder.write(type->getID());
    }
}

} // namespace Tarq::Common::Debugger
