#include "common/debugger/model/objecttype.h"

#include "common/debug/assert.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/internal/holdingid.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/variabletype.h"

#include <memory>

namespace Tarq::Common::Debugger {

using Network::Message::MessageBuilder;

ObjectType::ObjectType(ObjectGroup* group, const String& name)
    : mGroup(group), mModule(group->getModule()), mName(name), mVariableList(getAllocator()),
      mVarNamesToVarIDs(getAllocator()), mBreakpoints(getAllocator()), mInstances(getAllocator()) {}

ObjectType::~ObjectType() {
    for (const auto& [id, instance] : mInstances)
        delete instance;
    for (const auto& [name, breakpoint] : mBreakpoints)
        delete breakpoint;
    for (VariableType* const variable : mVariableList) {
        getModule().mVariableTypes.remove(variable->getID());
        delete variable;
    }
    if (getID() != INVALID_OBJECT_TYPE_ID)
        getModule().mObjectTypes.remove(getID());
}

bool ObjectType::registerVariableType(Network::Message::StreamIDs type, const String& name, bool isWritable) {
    const ModelLock inside(getModule());
    if (!checkNewVariable(name))
        return false;
    std::unique_ptr<VariableType> variable(
        VariableType::createVariableType(getAllocator(), type, name, isWritable, this, mVariableList.size()));
    if (!variable)
        return false;
    auto& registry = getModule().mVariableTypes;
    const uint32 id = registry.add(variable.get());
    try {
        mVarNamesToVarIDs.insert(name, id);
        mVariableList.push_back(variable.get());
    } catch (...) {
        mVarNamesToVarIDs.erase(name);
        registry.remove(id);
        throw;
    }
    variable.release()->setID(id);
    return true;
}

bool ObjectType::checkNewVariable(const String& name) const {
    if (isAttached())
        return TARQ_FAIL("Tried to register new VariableType to already attached ObjectType");
    if (mVarNamesToVarIDs.contains(name))
        return TARQ_FAIL("Tired to registered already known VariableType (", name, ") within objectType (", mName, ")");
    return true;
}

BreakpointInstance* ObjectType::registerBreakpointInstance(const String& name, const String& breakpointType,
                                                           const Container::List<String>* storeVariables) {
    const ModelLock inside(getModule());
    if (isAttached()) {
        TARQ_FAIL("Tried to register new BreakpointInstance to already attached ObjectType");
        return nullptr;
    }
    const auto& typeIDs = getModule().mBreakpointTypeIDs;
    const auto typeID = typeIDs.find(breakpointType);
    if (typeID == typeIDs.end()) {
        TARQ_FAIL("Tired to register Breakpoint (", name, ") within object (", mName,
                  ") that has an unknown BreakpointType (", breakpointType, ")");
        return nullptr;
    }
    if (mBreakpoints.contains(name)) {
        TARQ_FAIL("Tried to register Breakpoint (", name, ") that is already known within ObjectType (", mName, ")");
        return nullptr;
    }
    if (storeVariables && !checkStoreVariables(name, *storeVariables))
        return nullptr;
    std::unique_ptr<BreakpointInstance> breakpoint(
        new (getAllocator()) BreakpointInstance(this, getModule().mBreakpointTypes.get(typeID->second), name));
    if (storeVariables)
        breakpoint->setStoredVariables(*storeVariables);
    breakpoint->enter(getModule().mBreakpointInstances.add(breakpoint.get()));
    mBreakpoints.insert(name, breakpoint.get());
    return breakpoint.release();
}

bool ObjectType::checkStoreVariables(const String& breakpoint, const Container::List<String>& names) const {
    for (const String& name : names) {
        if (!mVarNamesToVarIDs.contains(name))
            return TARQ_FAIL("Tried to create new BreakpointInstance (", breakpoint, ") with a storeVariable (", name,
                             ") that isn't known within this ObjectType (", mName, ")");
    }
    return true;
}

void ObjectType::setUniqueID(uint32 a, uint32 b, uint32 c, uint32 d) {
    const ModelLock inside(getModule());
    if (TARQ_ASSERT(!mIsAttached, "Tried to set uniqueID to attached ObjectType"))
        mUniqueID = {a, b, c, d};
}

void ObjectType::getUniqueID(uint32& a, uint32& b, uint32& c, uint32& d) const {
    const ModelLock inside(getModule());
    a = mUniqueID[0];
    b = mUniqueID[1];
    c = mUniqueID[2];
    d = mUniqueID[3];
}

void ObjectType::attach() {
    const ModelLock inside(getModule());
    if (!TARQ_ASSERT(!mIsAttached, "Tried to attach an ObjectType (", mName, ") second time"))
        return;
    mIsAttached.store(true, std::memory_order_release);
    mGroup->attachType(*this);
}

bool ObjectType::existsVariable(uint32 id) const {
    const ModelLock inside(getModule());
    return findVariable(id) != nullptr;
}

bool ObjectType::getVarID(uint32& out, const String& name) const {
    const ModelLock inside(getModule());
    const auto found = mVarNamesToVarIDs.find(name);
    if (found == mVarNamesToVarIDs.end())
        return false;
    out = found->second;
    return true;
}

bool ObjectType::getBreakpoint(BreakpointInstance*& out, const String& name) const {
    const ModelLock inside(getModule());
    const auto found = mBreakpoints.find(name);
    if (found == mBreakpoints.end())
        return false;
    out = found->second;
    return true;
}

VariableType* ObjectType::findVariable(uint32 id) const noexcept {
    VariableType* const variable = getModule().findVariableType(id);
    return variable && variable->getObjectType() == this ? variable : nullptr;
}

VariableType* ObjectType::findVariable(String::Text name) const {
    const auto found = mVarNamesToVarIDs.find(name);
    return found == mVarNamesToVarIDs.end() ? nullptr : findVariable(found->second);
}

ObjectInstance* ObjectType::createObjectInstance(const String& name) {
    const ModelLock inside(getModule());
    if (!TARQ_ASSERT(mIsAttached, "Tried to register new ObjectInstance to unattached ObjectType"))
        return nullptr;
    std::unique_ptr<ObjectInstance> instance(new (getAllocator()) ObjectInstance(this, name));
    instance->enter(getModule().mObjectInstances.add(instance.get()));
    mInstances.insert(instance->getID(), instance.get());
    return instance.release();
}

bool ObjectType::destroyObjectInstance(uint32 id) {
    const ModelLock inside(getModule());
    const auto found = mInstances.find(id);
    if (found == mInstances.end())
        return TARQ_FAIL("Tried to remove an unknown ObjectInstance (id: ", id, ") from ObjectType (", mName, ")");
    ObjectInstance* const instance = found->second;
    if (!TARQ_ASSERT(!getModule().getServer().isHolding(*instance), "Tried to destroy ObjectInstance (",
                     instance->getName(), ") that has a holding breakpoint"))
        return false;
    if (instance->getClient() && !instance->sendUnregister())
        TARQ_FAIL("Couldn't send reportUnregistrationObjectInstance message to client");
    mInstances.erase(found);
    delete instance;
    return true;
}

bool ObjectType::isBreakpointActivated() const noexcept {
    return mBreakflag.load(std::memory_order_relaxed) || isBreakpointHolding() || mGroup->isBreakpointActivated();
}

void ObjectType::attachInstance(ObjectInstance& instance) {
    TARQ_ASSERT_AS("mIsAttached", mIsAttached, "Tried to attach ObjectInstance to unattached ObjectType");
    TARQ_ASSERT_AS("objectInstance->isAttached()", instance.isAttached(), "Tried to attach ObjectInstance (",
                   instance.getName(), ") to ObjectType (", mName, ") that has no attach flag set to true");
    if (mClient)
        instance.connectClient(mClient);
}

void ObjectType::connectClient(ClientInfo* client) {
    mClient = client;
    sendRegister();
    for (const auto& [id, instance] : mInstances) {
        if (instance->isAttached())
            instance->connectClient(client);
    }
}

void ObjectType::disconnectClient(ClientInfo* client) {
    if (mClient != client)
        TARQ_FAIL("ObjectType disconnected from not previously connected client (", client->mComputerName, ", ",
                  client->mUserName, ")");
    mClient = nullptr;
    for (const auto& [name, breakpoint] : mBreakpoints)
        breakpoint->disconnectClient();
    for (const auto& [id, instance] : mInstances) {
        if (instance->isAttached())
            instance->disconnectClient(client);
    }
}

void ObjectType::sendRegister() {
    const auto writeFields = [this](MessageBuilder& builder) {
        builder.write(getModule().getModuleID());
        builder.write(mGroup->getID());
        builder.write(mName);
        builder.write(getID());
        for (const uint32 part : mUniqueID)
            builder.write(part);
        builder.write(static_cast<uint32>(mBreakpoints.size()));
        for (const auto& [name, breakpoint] : mBreakpoints) {
            builder.write(breakpoint->getType()->getID());
            builder.write(name);
            builder.write(breakpoint->getID());
        }
        builder.write(mVariableList.size());
        for (const VariableType* const variable : mVariableList) {
            builder.write(variable->getType());
            builder.write(variable->getName());
            builder.write(variable->getID());
            builder.write(variable->isWritable());
        }
    };
    getModule().report(MessageID::REGISTER_OBJECT_TYPE, writeFields);
}

void ObjectType::sendUnregister() {
    getModule().report(MessageID::UNREGISTER_OBJECT_TYPE, [this](MessageBuilder& builder) {
        builder.write(getModule().getModuleID());
        builder.write(getID());
    });
}

bool ObjectType::holdBreakpoint(BreakpointInstance* breakpoint, ObjectInstance* trigger) {
    if (isBreakpointHolding())
        return TARQ_FAIL("Another BreakpointInstance is already holding (NOT holding additional BreakpointInstances)");
    const HoldingID holding(mHoldingBreakpointID, breakpoint->getID());
    return mGroup->holdFrom(mGroup->mHoldingTypeID, getID(), breakpoint, trigger);
}

} // namespace Tarq::Common::Debugger
