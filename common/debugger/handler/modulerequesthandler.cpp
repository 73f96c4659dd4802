#include "common/debugger/handler/modulerequesthandler.h"

#include "common/debugger/model/objecttype.h"
#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

ModuleRequestHandler::ModuleRequestHandler(Server* server, MessageID request, const char* layout) noexcept
    : RequestHandler(server, request, layout) {}

ModuleRequestHandler::~ModuleRequestHandler() = default;

void ModuleRequestHandler::reset() {
    RequestHandler::reset();
    mModuleID = 0;
    mModule = nullptr;
    mClient = nullptr;
}

bool ModuleRequestHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!readFields(*reader) || !findClient(mClient, connection))
        return false;
    if (find() && !act(*reader))
        return false;
    return reply(connection, [this](MessageBuilder& builder) {
        writeFields(builder);
        writeError(builder);
        writeData(builder);
    });
}

void ModuleRequestHandler::writeData(MessageBuilder&) {}

bool ModuleRequestHandler::findModule() {
    mModule = mServer->findModule(mModuleID);
    return mModule != nullptr;
}

ObjectInstance* ModuleRequestHandler::findObjectInstance(uint32 id) const noexcept {
    ObjectInstance* const instance = mModule->findObjectInstance(id);
    return instance && instance->isAttached() ? instance : nullptr;
}

BreakpointInstance* ModuleRequestHandler::findBreakpointInstance(uint32 id) const noexcept {
    BreakpointInstance* const breakpoint = mModule->findBreakpointInstance(id);
    return breakpoint && breakpoint->getObjectType()->isAttached() ? breakpoint : nullptr;
}

} // namespace Tarq::Common::Debugger
