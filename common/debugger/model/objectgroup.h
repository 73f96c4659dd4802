#pragma once

#include "common/container/stringlookup.h"
#include "common/debugger/model/elementid.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/string.h"

#include <atomic>

namespace Tarq::Common::Debugger {

class BreakpointInstance;
class ClientInfo;
class Module;
class ObjectInstance;
class ObjectType;

/// A place in a module's tree: has groups and types.
///
/// Made by `Module::createObjectGroup` and `registerSubObjectGroup`. Ownership, threads and failures: as in `Module`.
class TARQ_API ObjectGroup : public Memory::MemoryManaged {
public:
    ~ObjectGroup() override;

    const String& getName() const noexcept { return mName; }
    uint32 getID() const noexcept { return mID.get(); }
    Module* getModule() const noexcept { return mModule; }
    /// Null for a group at the top.
    ObjectGroup* getParent() const noexcept { return mParent; }

    /// Makes a group inside this one, which a connected client hears of at once. Null when the name is taken.
    ObjectGroup* registerSubObjectGroup(const String& name);
    /// Asserts that there is one; null otherwise.
    ObjectGroup* getSubGroup(uint32 id) const;
    ObjectGroup* getSubGroup(const String& name) const;

    /// Makes a type, of which clients hear when it is attached. Null when the name is taken.
    ObjectType* createObjectType(const String& name);
    /// Destroys the type and its instances. Asserts that this group has it, and that no thread is held in it; false
    /// otherwise.
    bool destroyObjectType(uint32 id);
    /// False, without a report, when there is none.
    bool getObjectType(ObjectType*& out, const String& name) const;

    // Costs no lock.

    bool isBreakpointHolding() const noexcept;
    /// Whether something may hold here: a break flag of this group or of one around it, or a thread that is held.
    bool isBreakpointActivated() const noexcept;
    /// What `isBreakpointActivated` says of this group and of what is in it; nothing else goes by it.
    void setBreakflag(bool isSet) noexcept { mBreakflag.store(isSet, std::memory_order_relaxed); }

private:
    friend class Module;
    friend class ObjectType;

    ObjectGroup(Module* module, const String& name, ObjectGroup* parent);

    // Under the module's locks.

    void enter(uint32 id) { mID.set(id); }
    void connectClient(ClientInfo* client);
    void disconnectClient(ClientInfo* client);
    void attachType(ObjectType& type);
    void sendRegister();
    ClientInfo* getClient() const noexcept { return mClient; }

    // Under the data mutex.

    bool holdFrom(std::atomic<uint32>& holding, uint32 id, BreakpointInstance* breakpoint, ObjectInstance* trigger);
    bool passHoldOn(BreakpointInstance* breakpoint, ObjectInstance* trigger);

    Module* mModule;
    String mName;
    ElementID mID{"ObjectGroup"};
    ObjectGroup* mParent;
    ClientInfo* mClient = nullptr;
    Container::StringLookUp<ObjectGroup*> mSubGroups;
    Container::StringLookUp<ObjectType*> mTypes;
    std::atomic<bool> mBreakflag{false};
    std::atomic<uint32> mHoldingTypeID{INVALID_OBJECT_TYPE_ID};
    std::atomic<uint32> mHoldingSubGroupID{INVALID_OBJECT_GROUP_ID};
};

} // namespace Tarq::Common::Debugger
