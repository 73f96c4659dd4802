#include "common/debugger/model/objectinstance.h"

#include "common/debug/assert.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objecttype.h"
#include "common/debugger/model/variabletype.h"

#include <algorithm>

namespace Tarq::Common::Debugger {

using Network::Message::MessageBuilder;

namespace {

/// Most values are short; longer ones take more blocks.
constexpr uint32 cBlockSize = 256;

} // namespace

ObjectInstance::ObjectInstance(ObjectType* type, const String& name)
    : mType(type), mName(name), mVariables(getAllocator()), mWatchedVariables(getAllocator()) {
    mVariables.resize(type->getVariables().size());
    // Watches take no memory: whoever sets one has no answer to a lack of it.
    mWatchedVariables.reserve(mVariables.size());
}

ObjectInstance::~ObjectInstance() {
    if (getID() == INVALID_OBJECT_INSTANCE_ID)
        return;
    Module& module = mType->getModule();
    module.getServer().forgetObjectInstance(module, getID());
    module.getHistory().removeEntries(getID());
    module.mObjectInstances.remove(getID());
}

bool ObjectInstance::registerVariable(const String& name, void* location) {
    const ModelLock inside(mType->getModule());
    if (!TARQ_ASSERT(location, "Tried to register NULL pointer as variable"))
        return false;
    if (!TARQ_ASSERT(!mIsAttached, "Tried to register variable (", name, ") to already attached ObjectInstance (",
                     mName, ")"))
        return false;
    const VariableType* const variable = mType->findVariable(name);
    if (!variable)
        return TARQ_FAIL("Tried to registered variable (", name, ") of objectInstance (", mName,
                         ") that isn't known within ObjectType (", mType->getName(), ")");
    VariableInstance& place = mVariables[variable->getIndex()];
    if (!place.getPointer())
        ++mVariableCount;
    place = VariableInstance(location, variable);
    return true;
}

bool ObjectInstance::unregisterVariable(uint32 id) {
    const ModelLock inside(mType->getModule());
    if (!TARQ_ASSERT(mIsAttached, "Tried to unregister variable to an unattached ObjectInstance"))
        return false;
    const VariableInstance* const variable = findVariable(id);
    if (!variable)
        return TARQ_FAIL("Tried to unregister unknown variable (id: ", id, ") within ObjectInstance (name: ", mName,
                         ", id: ", getID(), ")");
    if (isWatched(variable))
        forgetWatch(variable);
    mVariables[variable->getVarType()->getIndex()] = VariableInstance();
    --mVariableCount;
    return true;
}

bool ObjectInstance::isWatched(const VariableInstance* variable) const noexcept {
    return std::find(mWatchedVariables.begin(), mWatchedVariables.end(), variable) != mWatchedVariables.end();
}

bool ObjectInstance::forgetWatch(const VariableInstance* variable) {
    const auto watch = std::find(mWatchedVariables.begin(), mWatchedVariables.end(), variable);
    if (!TARQ_ASSERT_AS(nullptr, watch != mWatchedVariables.end(),
                        "Internal error: Can't find iterator to watched variable"))
        return false;
    mWatchedVariables.erase(watch);
    return true;
}

bool ObjectInstance::getVarID(uint32& out, const String& name) const {
    const ModelLock inside(mType->getModule());
    const VariableInstance* const variable = findVariable(name);
    if (variable)
        out = variable->getVarType()->getID();
    return variable != nullptr;
}

void ObjectInstance::attach() {
    const ModelLock inside(mType->getModule());
    if (!TARQ_ASSERT(!mIsAttached, "Tried to attach an ObjectInstance (", mName, ") second time") || !checkComplete())
        return;
    mAccessor.reset(new (getAllocator()) DebuggerVariableAccessor(this, nullptr));
    mIsAttached.store(true, std::memory_order_release);
    mType->attachInstance(*this);
}

bool ObjectInstance::checkComplete() const {
    TARQ_ASSERT_AS("mType->mVariableList.size() == mType->mVarNamesToVarIDs.size()",
                   mType->mVariableList.size() == mType->mVarNamesToVarIDs.size(),
                   "Lists of variables and corresponding variableName have different sizes");
    const uint32 declared = mType->mVariableList.size();
    if (mVariableCount < declared)
        return TARQ_FAIL("Missing (", declared - mVariableCount, ") Variables within ObjectInstance (", mName,
                         ") that are known within ObjectType (", mType->getName(), ")");
    if (mVariableCount > declared)
        return TARQ_FAIL("More Varaibles (", mVariableCount - declared, ") are registered within ObjectInstance (",
                         mName, ") that Variables are known within ObjectType (", mType->getName(), ")");
    return true;
}

bool ObjectInstance::checkWatch(uint32 id, const char* unattached, const char* unknown) const {
    if (!isAttached())
        return TARQ_FAIL(unattached);
    return findVariable(id) || TARQ_FAIL(unknown, id, ") within object (", mName, ")");
}

bool ObjectInstance::registerWatchedVariable(uint32 id) {
    const ModelLock inside(mType->getModule());
    if (!checkWatch(id, "Tried to register watched variable to an unattached ObjectInstance",
                    "Tried to register watched variable for unknown variable (id: "))
        return false;
    const VariableInstance* const variable = findVariable(id);
    if (isWatched(variable))
        return TARQ_FAIL("Tried to set watch on already watched variable (name: ", variable->getVarType()->getName(),
                         ") within object (", mName, ")");
    mWatchedVariables.push_back(variable);
    return true;
}

bool ObjectInstance::unregisterWatchedVariable(uint32 id) {
    const ModelLock inside(mType->getModule());
    if (!checkWatch(id, "Tried to unregister watched variable to an unattached ObjectInstance",
                    "Tried to unregister watched variable for unknown variable (id: "))
        return false;
    const VariableInstance* const variable = findVariable(id);
    if (!isWatched(variable))
        return TARQ_FAIL("Tried to unset watch on not watched variable (name: ", variable->getVarType()->getName(),
                         ") within object (", mName, ")");
    return forgetWatch(variable);
}

bool ObjectInstance::isWatchedVariable(uint32 id) const {
    const ModelLock inside(mType->getModule());
    if (!TARQ_ASSERT(mIsAttached, "Tried to ask about existence of a watched variable of an unattached ObjectInstance"))
        return false;
    const VariableInstance* const variable = findVariable(id);
    return variable && isWatched(variable);
}

bool ObjectInstance::getVariableData(MessageBuilder& builder, uint32 id) const {
    const ModelLock inside(mType->getModule());
    if (!TARQ_ASSERT(mIsAttached, "Tried to get variable data of an unattached ObjectInstance"))
        return false;
    const VariableInstance* const variable = findVariable(id);
    if (!variable)
        return TARQ_FAIL("Tried to get data for unknown variable (", id, ") within objectInstance (", mName, ")");
    Memory::MemoryStream value("stream", cBlockSize);
    MessageBuilder item(&value, true);
    variable->writeTo(item);
    value.seek(0, IO::Stream::SORIGIN_BEGIN);
    if (value.getLength() >= 0xFFFFFFFF)
        return false;
    builder.writeStream(&value, value.getLength(), false);
    return true;
}

VariableInstance::Result ObjectInstance::setVariableData(uint32 id, Network::Message::MessageReader& reader) {
    const ModelLock inside(mType->getModule());
    if (!TARQ_ASSERT(mIsAttached, "Tried to set variable data of an unattached ObjectInstance"))
        return VariableInstance::VARIABLE_UNKNOWN;
    const VariableInstance* const variable = findVariable(id);
    return variable ? variable->assignFrom(reader) : VariableInstance::VARIABLE_UNKNOWN;
}

void ObjectInstance::enterBreakArea() const {
    mType->getModule().getServer().getBreakAreaMutex().lock();
}

void ObjectInstance::leaveBreakArea() const {
    mType->getModule().getServer().getBreakAreaMutex().unlock();
}

const VariableInstance* ObjectInstance::findVariable(uint32 id) const noexcept {
    const VariableType* const type = mType->findVariable(id);
    const VariableInstance* const variable = type ? &mVariables[type->getIndex()] : nullptr;
    return variable && variable->getPointer() ? variable : nullptr;
}

const VariableInstance* ObjectInstance::findVariable(String::Text name) const {
    const VariableType* const type = mType->findVariable(name);
    return type ? findVariable(type->getID()) : nullptr;
}

void* ObjectInstance::getVariableValuePointer(String::Text name) const {
    if (!TARQ_ASSERT(mIsAttached, "Tried to get variable value pointer of an unattached ObjectInstance"))
        return nullptr;
    const VariableInstance* const variable = findVariable(name);
    return variable ? variable->getPointer() : nullptr;
}

DebuggerVariableAccessor* ObjectInstance::getVariableAccessor() const {
    TARQ_ASSERT(mIsAttached, "Tried to getVariableAccessor of an unattached ObjectInstance");
    return mAccessor.get();
}

bool ObjectInstance::takeStop() noexcept {
    return mIsToStop.load(std::memory_order_relaxed) && mIsToStop.exchange(false, std::memory_order_relaxed);
}

void ObjectInstance::connectClient(ClientInfo* client) {
    mClient = client;
    Module& module = mType->getModule();
    module.report(MessageID::REGISTER_OBJECT_INSTANCE, [&](MessageBuilder& builder) {
        builder.write(module.getModuleID());
        builder.write(mType->getID());
        builder.write(mName);
        builder.write(getID());
    });
}

void ObjectInstance::disconnectClient(ClientInfo* client) {
    if (mClient != client)
        TARQ_FAIL("ObjectInstance disconnected from not previously connected client (", client->mComputerName, ", ",
                  client->mUserName, ")");
    mClient = nullptr;
    mBreakflag = false;
}

bool ObjectInstance::sendUnregister() {
    Module& module = mType->getModule();
    return module.send(MessageID::UNREGISTER_OBJECT_INSTANCE, [&](MessageBuilder& builder) {
        builder.write(module.getModuleID());
        builder.write(getID());
    });
}

} // namespace Tarq::Common::Debugger
