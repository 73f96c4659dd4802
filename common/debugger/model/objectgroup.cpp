#include "common/debugger/model/objectgroup.h"

#include "common/debug/assert.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/internal/holdingid.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/objecttype.h"

#include <memory>

namespace Tarq::Common::Debugger {

ObjectGroup::ObjectGroup(Module* module, const String& name, ObjectGroup* parent)
    : mModule(module), mName(name), mParent(parent), mSubGroups(getAllocator()), mTypes(getAllocator()) {}

ObjectGroup::~ObjectGroup() {
    for (const auto& [name, group] : mSubGroups)
        delete group;
    for (const auto& [name, type] : mTypes)
        delete type;
    if (getID() != INVALID_OBJECT_GROUP_ID)
        mModule->mObjectGroups.remove(getID());
}

ObjectGroup* ObjectGroup::registerSubObjectGroup(const String& name) {
    const ModelLock inside(*mModule);
    if (mSubGroups.contains(name)) {
        TARQ_FAIL("Tried to register new subGroup that has the same name (", name,
                  ") as an already known subGroup within ObjectGroup (", mName, ")");
        return nullptr;
    }
    std::unique_ptr<ObjectGroup> made = mModule->makeGroup(name, this);
    mSubGroups.insert(name, made.get());
    ObjectGroup* const group = made.release();
    if (mClient)
        group->connectClient(mClient);
    return group;
}

ObjectGroup* ObjectGroup::getSubGroup(uint32 id) const {
    const ModelLock inside(*mModule);
    ObjectGroup* const group = mModule->findObjectGroup(id);
    if (group && group->mParent == this)
        return group;
    TARQ_FAIL("Tried to get unknown subGroup (", id, ") from ObjectGroup (", mName, ")");
    return nullptr;
}

ObjectGroup* ObjectGroup::getSubGroup(const String& name) const {
    const ModelLock inside(*mModule);
    const auto found = mSubGroups.find(name);
    if (found != mSubGroups.end())
        return found->second;
    TARQ_FAIL("Tried to get unknown subGroup (", name, ") from ObjectGroup (", mName, ")");
    return nullptr;
}

ObjectType* ObjectGroup::createObjectType(const String& name) {
    const ModelLock inside(*mModule);
    if (mTypes.contains(name)) {
        TARQ_FAIL("Tried to add a new ObjectType (", name,
                  ") that has the same name as an already known ObjectType within ObjectGroup (", mName, ")");
        return nullptr;
    }
    std::unique_ptr<ObjectType> type(new (getAllocator()) ObjectType(this, name));
    type->enter(mModule->mObjectTypes.add(type.get()));
    mTypes.insert(name, type.get());
    return type.release();
}

bool ObjectGroup::destroyObjectType(uint32 id) {
    const ModelLock inside(*mModule);
    ObjectType* const type = mModule->findObjectType(id);
    if (!type || type->mGroup != this)
        return TARQ_FAIL("Tried to destroy an unknown ObjectType (id: ", id, ") from ObjectGroup (", mName, ")");
    if (!TARQ_ASSERT(!type->isBreakpointHolding(), "Tried to destroy ObjectType (", type->getName(),
                     ") that has a holding breakpoint"))
        return false;
    if (type->isConnected())
        type->sendUnregister();
    mTypes.erase(mTypes.find(type->getName()));
    delete type;
    return true;
}

bool ObjectGroup::getObjectType(ObjectType*& out, const String& name) const {
    const ModelLock inside(*mModule);
    const auto found = mTypes.find(name);
    if (found == mTypes.end())
        return false;
    out = found->second;
    return true;
}

bool ObjectGroup::isBreakpointHolding() const noexcept {
    return mHoldingTypeID.load(std::memory_order_relaxed) != INVALID_OBJECT_TYPE_ID ||
           mHoldingSubGroupID.load(std::memory_order_relaxed) != INVALID_OBJECT_GROUP_ID;
}

bool ObjectGroup::isBreakpointActivated() const noexcept {
    for (const ObjectGroup* group = this; group; group = group->mParent) {
        if (group->mBreakflag.load(std::memory_order_relaxed) || group->isBreakpointHolding())
            return true;
    }
    return mModule->isBreakpointActivated();
}

void ObjectGroup::connectClient(ClientInfo* client) {
    if (mClient && mClient != client)
        TARQ_FAIL("ObjectType connected to new client (", client->mComputerName, ", ", client->mUserName,
                  ") but older client (", mClient->mComputerName, ", ", mClient->mUserName, ") is still set");
    mClient = client;
    sendRegister();
    for (const auto& [name, type] : mTypes) {
        if (type->isAttached())
            type->connectClient(client);
    }
    for (const auto& [name, group] : mSubGroups)
        group->connectClient(client);
}

void ObjectGroup::disconnectClient(ClientInfo* client) {
    if (mClient != client)
        TARQ_FAIL("ObjectGroup disconnected from not previously connected client (", client->mComputerName, ", ",
                  client->mUserName, ")");
    mClient = nullptr;
    for (const auto& [name, type] : mTypes) {
        if (type->isAttached())
            type->disconnectClient(client);
    }
    for (const auto& [name, group] : mSubGroups)
        group->disconnectClient(client);
}

void ObjectGroup::attachType(ObjectType& type) {
    TARQ_ASSERT_AS("objectType->isAttached()", type.isAttached(), "Tried to attach an ObjectType (", type.getName(),
                   ") that hasn't its attached flag set");
    const auto found = mTypes.find(type.getName());
    if (!TARQ_ASSERT_AS(nullptr, found != mTypes.end() && found->second == &type, "Tried to attach ObjectType (",
                        type.getName(), ") that isn't created within ObjectGroup (", mName, ")"))
        return;
    if (mClient)
        type.connectClient(mClient);
}

void ObjectGroup::sendRegister() {
    mModule->report(MessageID::REGISTER_OBJECT_GROUP, [this](Network::Message::MessageBuilder& builder) {
        builder.write(mModule->getModuleID());
        builder.write(mName);
        builder.write(getID());
        builder.write(mParent ? mParent->getID() : uint32{INVALID_OBJECT_GROUP_ID});
    });
}

bool ObjectGroup::holdFrom(std::atomic<uint32>& holding, uint32 id, BreakpointInstance* breakpoint,
                           ObjectInstance* trigger) {
    if (isBreakpointHolding())
        return TARQ_FAIL("Another BreakpointInstance is already holding (NOT holding additional BreakpointInstances)");
    const HoldingID scope(holding, id);
    return passHoldOn(breakpoint, trigger);
}

bool ObjectGroup::passHoldOn(BreakpointInstance* breakpoint, ObjectInstance* trigger) {
    if (mParent)
        return mParent->holdFrom(mParent->mHoldingSubGroupID, getID(), breakpoint, trigger) ||
               TARQ_FAIL("Can't hold on Breakpoint because parent ObjectGroup found error");
    return mModule->holdBreakpoint(getID(), breakpoint, trigger) ||
           TARQ_FAIL("Can't hold on Breakpoint because module found error");
}

} // namespace Tarq::Common::Debugger
