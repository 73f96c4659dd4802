#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/call/rpchelper.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/server.h"

#include <memory>
#include <utility>

/// The server's modules.
namespace Tarq::Common::Debugger {

namespace {

void dropCalls(const Module& module) {
    if (RPCHelper* const helper = RPCHelper::getInstance())
        helper->dropCalls(*module.getFunctionRegistrar());
}

} // namespace

Module* Server::createModule(const String& name, const uint32& version, uint32 maxHistoryLength) {
    const DataLock inside(sDataMutex);
    if (findModule(name, version)) {
        TARQ_FAIL("Tried to register already registered module (name: ", name, ", version: ", version, ")");
        return nullptr;
    }
    std::unique_ptr<Module> made(new (getAllocator()) Module(this, name, version, maxHistoryLength));
    made->setModuleID(mModules.add(made.get()));
    // Whoever gets the report may end the thread.
    Module* const module = made.release();
    Debug::report({Debug::LOG_MESSAGE, "Tarq::Common::Debugger::Server::createModule"},
                  "Registered new module (name: ", name, ", id: ", module->getModuleID(), ", version: ", version, ")");
    return module;
}

bool Server::destroyModule(Module*& module) {
    const DataLock inside(sDataMutex);
    // It may be gone already: whether it is there is asked before it is looked at, and nobody knows its name then.
    if (!findModule(module))
        return TARQ_FAIL("Tried to unregister unknown module (name: ", "?", ", id: ", "?", ", version: ", "?", ")");
    const uint32 id = module->getModuleID();
    if (Module* const other = findModule(id); other != module)
        return other ? TARQ_FAIL("Tried to unregister module (name: ", module->getName(), ", id: ", id,
                                 ", version: ", module->getVersion(),
                                 " ) but its moduleID is occupied by another module (name: ", other->getName(),
                                 ", id: ", other->getModuleID(), ", version: ", other->getVersion(), ")")
                     : TARQ_FAIL("Tried to unregister unknown module (name: ", module->getName(), ", id: ", id,
                                 ", version: ", module->getVersion(), ")");
    if (!TARQ_ASSERT(!module->isBreakpointHolding(), "Tried to destroy module (name: ", module->getName(), ", id: ", id,
                     ", version: ", module->getVersion(), ") that has a holding breakpoint"))
        return false;
    if (module->getClient()) {
        const bool isSent = module->send(MessageID::MODULE_SHUTDOWN,
                                         [id](Network::Message::MessageBuilder& builder) { builder.write(id); });
        if (!isSent)
            TARQ_FAIL("Couldn't send module shutdown message to client");
        disconnectModule(*module);
    }
    mModules.remove(id);
    dropCalls(*module);
    delete std::exchange(module, nullptr);
    return true;
}

void Server::disconnectModule(Module& module) {
    if (mMakeStepFilter.mModule == &module)
        mMakeStepFilter = StepFilter();
    if (module.getClient())
        module.disconnectClient();
}

Module* Server::findModule(const String& name, uint32 version) const {
    for (auto at = mModules.begin(); at != mModules.end(); ++at) {
        if ((*at)->getVersion() == version && (*at)->getName() == name)
            return *at;
    }
    return nullptr;
}

Module* Server::findModule(const Module* module) const noexcept {
    for (auto at = mModules.begin(); at != mModules.end(); ++at) {
        if (*at == module)
            return *at;
    }
    return nullptr;
}

bool Server::getModule(Module*& out, const uint32& moduleID) {
    const DataLock inside(sDataMutex);
    if (!mModules.isValidID(moduleID))
        return TARQ_FAIL("Tried to get unknown module via moduleID: ", moduleID);
    Module* const module = findModule(moduleID);
    if (!module)
        return TARQ_FAIL("Registered Modules has a NULL pointer to moduleID: ", moduleID);
    out = module;
    return true;
}

bool Server::getModule(Module*& out, const String& name, const uint32& version) {
    const DataLock inside(sDataMutex);
    Module* const module = findModule(name, version);
    if (module)
        out = module;
    return module != nullptr;
}

/// No thread is inside a breakpoint any more.
void Server::deleteModules() {
    const DataLock inside(sDataMutex);
    while (!mModules.empty()) {
        const uint32 id = mModules.getFirstValidID();
        Module* const module = mModules.get(id);
        mModules.remove(id);
        disconnectModule(*module);
        dropCalls(*module);
        delete module;
    }
    TARQ_ASSERT_AS("mModules.empty()", mModules.empty(), mModules.size(), "Modules are still existing");
}

void Server::forgetObjectInstance(const Module& module, uint32 objectInstanceID) noexcept {
    if (mMakeStepFilter.mModule == &module && mMakeStepFilter.mObjectInstanceID == objectInstanceID)
        mMakeStepFilter = StepFilter();
}

} // namespace Tarq::Common::Debugger
