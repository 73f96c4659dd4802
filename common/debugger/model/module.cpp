#include "common/debugger/model/module.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"
#include "common/debugger/model/variabletype.h"
#include "common/debugger/outgoingmessage.h"
#include "common/exceptions/internal/guarded.h"

#include <algorithm>

namespace Tarq::Common::Debugger {

namespace {

template <class Element>
bool give(Element*& out, Element* found) noexcept {
    if (found)
        out = found;
    return found != nullptr;
}

} // namespace

Module::Module(Server* server, const String& name, uint32 version, uint32 maxHistoryLength)
    : mServer(server), mName(name), mVersion(version),
      mFunctionRegistrar(new (getAllocator()) Reflection::Function::FunctionRegistrar(getAllocator())),
      mObjectGroups(getAllocator()), mObjectTypes(getAllocator()), mObjectInstances(getAllocator()),
      mBreakpointTypes(getAllocator()), mBreakpointInstances(getAllocator()), mVariableTypes(getAllocator()),
      mTopGroups(getAllocator()), mBreakpointTypeIDs(getAllocator()),
      mHistory(getAllocator(), std::max(maxHistoryLength, 1u)) {
    TARQ_ASSERT(maxHistoryLength > 0, "Tried to create Module with historyLength=0 -> debugger needs history to report "
                                      "holding breakpoints");
}

Module::~Module() {
    for (const auto& [name, group] : mTopGroups)
        delete group;
    while (!mBreakpointTypes.empty()) {
        const uint32 id = mBreakpointTypes.getFirstValidID();
        delete mBreakpointTypes.get(id);
        mBreakpointTypes.remove(id);
    }
    checkEmpty();
    if (mClient)
        TARQ_FAIL("Client (", mClient->mComputerName, ", ", mClient->mUserName,
                  ") is still registered to this module (name: ", mName, ", version: ", mVersion, ")");
}

void Module::checkEmpty() const {
    const struct {
        bool isEmpty;
        const char* text;
    } left[] = {
        {mObjectGroups.empty(), "ObjectGroup IDs are still registered"},
        {mObjectTypes.empty(), "ObjectType IDs are still registered"},
        {mObjectInstances.empty(), "ObjectInstance IDs are still registered"},
        {mBreakpointTypes.empty(), "BreakpointType IDs are still registered"},
        {mBreakpointInstances.empty(), "BreakpointInstance IDs are still registered"},
        {mVariableTypes.empty(), "Variable IDs are still registered"},
        {mHistory.isEmpty(), "HistoryList is still filled"},
    };
    for (const auto& registry : left) {
        if (!registry.isEmpty)
            TARQ_FAIL(registry.text);
    }
}

void Module::attach() {
    mIsAttached.store(true, std::memory_order_relaxed);
}

ObjectGroup* Module::createObjectGroup(const String& name) {
    const ModelLock inside(*this);
    if (mTopGroups.contains(name)) {
        TARQ_FAIL("Tried to register ObjectGroup (", name,
                  ") that has the same name as another ObjectGroup within module (", mName, ")");
        return nullptr;
    }
    std::unique_ptr<ObjectGroup> made = makeGroup(name, nullptr);
    mTopGroups.insert(name, made.get());
    ObjectGroup* const group = made.release();
    if (mClient)
        group->connectClient(mClient);
    return group;
}

/// With its id; whoever drops it frees that.
std::unique_ptr<ObjectGroup> Module::makeGroup(const String& name, ObjectGroup* parent) {
    std::unique_ptr<ObjectGroup> group(new (getAllocator()) ObjectGroup(this, name, parent));
    group->enter(mObjectGroups.add(group.get()));
    return group;
}

BreakpointType* Module::registerBreakpointType(const String& name) {
    const ModelLock inside(*this);
    if (isAttached()) {
        TARQ_FAIL("Tried to register BreakpointType within module (", mName, ") after it was attached");
        return nullptr;
    }
    if (mBreakpointTypeIDs.contains(name)) {
        TARQ_FAIL("Tried to register BreakpointType (", name,
                  ") that has the same name as another already registered BreakpointType within module (name: ", mName,
                  ", version: ", mVersion, ")");
        return nullptr;
    }
    std::unique_ptr<BreakpointType> type(new (getAllocator()) BreakpointType(this, name));
    const uint32 id = mBreakpointTypes.add(type.get());
    try {
        mBreakpointTypeIDs.insert(name, id);
    } catch (...) {
        mBreakpointTypes.remove(id);
        throw;
    }
    type->enter(id);
    return type.release();
}

bool Module::getObjectGroup(ObjectGroup*& out, uint32 id) const {
    const ModelLock inside(*this);
    return give(out, mObjectGroups.get(id));
}

bool Module::getObjectGroup(ObjectGroup*& out, const String& name) const {
    const ModelLock inside(*this);
    const auto found = mTopGroups.find(name);
    if (found == mTopGroups.end())
        return TARQ_FAIL("Module (name: ", mName, ", version: ", mVersion, ") tried to get unknown objectGroup (", name,
                         ")");
    out = found->second;
    return true;
}

bool Module::getObjectType(ObjectType*& out, uint32 id) const {
    const ModelLock inside(*this);
    return give(out, mObjectTypes.get(id));
}

bool Module::getObjectInstance(ObjectInstance*& out, uint32 id) const {
    const ModelLock inside(*this);
    return give(out, mObjectInstances.get(id));
}

bool Module::getVariableType(VariableType*& out, uint32 id) const {
    const ModelLock inside(*this);
    return give(out, mVariableTypes.get(id));
}

bool Module::getBreakpointType(BreakpointType*& out, uint32 id) const {
    const ModelLock inside(*this);
    return give(out, mBreakpointTypes.get(id));
}

bool Module::getBreakpointType(BreakpointType*& out, const String& name) const {
    const ModelLock inside(*this);
    const auto found = mBreakpointTypeIDs.find(name);
    if (found == mBreakpointTypeIDs.end())
        return TARQ_FAIL("Tried to get unknown BreakpointType (", name, ") within module (name: ", mName,
                         ", version: ", mVersion, ")");
    return give(out, mBreakpointTypes.get(found->second)) ||
           TARQ_FAIL("Internal error: BreakpointType (", name, ") is only known by name");
}

bool Module::getBreakpointInstance(BreakpointInstance*& out, uint32 id) const {
    const ModelLock inside(*this);
    return give(out, mBreakpointInstances.get(id));
}

bool Module::isClientConnected() const {
    const ModelLock inside(*this);
    return mClient != nullptr;
}

bool Module::connectClient(ClientInfo* client) {
    const ModelLock inside(*this);
    if (!TARQ_ASSERT(!mClient, "Module connected to new Client without disconnecting from old Client"))
        return false;
    mClient = client;
    for (const auto& [name, group] : mTopGroups)
        group->connectClient(client);
    return true;
}

void Module::disconnectClient() {
    const ModelLock inside(*this);
    for (const auto& [name, group] : mTopGroups)
        group->disconnectClient(mClient);
    mClient = nullptr;
}

/// Sends nothing when the message cannot be made, either.
bool Module::sendFields(MessageID type, WriteFieldsFunction function, const void* write) {
    if (!TARQ_ASSERT(mClient, "Tried to send message but no Client is connected (use isClientConnected() to check "
                              "before sending)"))
        return false;
    Exceptions::CaughtText caught;
    const bool isSent = Exceptions::runGuarded(caught, [&] {
        OutgoingMessage message(*mServer, type);
        function(message.builder(), write);
        return message.sendTo(mClient->mConnectionID);
    });
    if (caught.isCaught())
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Debugger::Module::send"},
                      "A message to the client couldn't be made: ", caught.getText());
    return isSent;
}

} // namespace Tarq::Common::Debugger
