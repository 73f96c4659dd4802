#pragma once

#include "common/container/list.h"
#include "common/container/lookup.h"
#include "common/container/stringlookup.h"
#include "common/container/vector.h"
#include "common/debugger/model/elementid.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/network/message/streamids.h"
#include "common/string.h"

#include <array>
#include <atomic>

namespace Tarq::Common::Debugger {

class BreakpointInstance;
class ClientInfo;
class Module;
class ObjectGroup;
class ObjectInstance;
class VariableType;

/// What objects of the host have in common: the variables that a tool sees of them, and the breakpoints that they come
/// by. Both are declared before `attach`; instances are made after it.
///
/// Made by `ObjectGroup::createObjectType`. Ownership, threads and failures: as in `Module`.
class TARQ_API ObjectType : public Memory::MemoryManaged {
public:
    ~ObjectType() override;

    const String& getName() const noexcept { return mName; }
    uint32 getID() const noexcept { return mID.get(); }
    ObjectGroup* getGroup() const noexcept { return mGroup; }
    Module& getModule() const noexcept { return *mModule; }

    /// Declares a variable: the tag of one of the built-in types, and whether tools may change it.
    bool registerVariableType(Network::Message::StreamIDs type, const String& name, bool isWritable);
    /// Declares a breakpoint of a kind that the module knows, and the variables, which are declared before, whose
    /// values each pass of it records; null for none.
    BreakpointInstance* registerBreakpointInstance(const String& name, const String& breakpointType,
                                                   const Container::List<String>* storeVariables);
    /// Four numbers by which a tool knows the type again; 0 at first. Before `attach`.
    void setUniqueID(uint32 a, uint32 b, uint32 c, uint32 d);
    void getUniqueID(uint32& a, uint32& b, uint32& c, uint32& d) const;

    /// Ends the declarations; a connected client hears of the type.
    void attach();
    bool isAttached() const noexcept { return mIsAttached.load(std::memory_order_relaxed); }

    bool existsVariable(uint32 id) const;
    /// False, without a report, when there is none.
    bool getVarID(uint32& out, const String& name) const;
    bool getBreakpoint(BreakpointInstance*& out, const String& name) const;

    /// Makes an instance, of which clients hear when it is attached. Names need not be unique.
    ObjectInstance* createObjectInstance(const String& name);
    /// Asserts that this type has it, and that no thread is held with it; false otherwise. Its history goes with it.
    bool destroyObjectInstance(uint32 id);

    // Costs no lock.

    bool isBreakpointHolding() const noexcept {
        return mHoldingBreakpointID.load(std::memory_order_relaxed) != INVALID_BREAKPOINT_INSTANCE_ID;
    }
    /// Whether something may hold here: a break flag of the type or of a group around it, or a thread that is held.
    bool isBreakpointActivated() const noexcept;
    /// What `isBreakpointActivated` says of this type; nothing else goes by it.
    void setBreakflag(bool isSet) noexcept { mBreakflag.store(isSet, std::memory_order_relaxed); }

    // For the debugger's other classes. The caller holds the data mutex, or has the type attached: then they stay.

    const Container::Vector<VariableType*>& getVariables() const noexcept { return mVariableList; }
    /// Null when there is none.
    VariableType* findVariable(String::Text name) const;
    VariableType* findVariable(uint32 id) const noexcept;

private:
    friend class BreakpointInstance;
    friend class Module;
    friend class ObjectGroup;
    friend class ObjectInstance;

    ObjectType(ObjectGroup* group, const String& name);

    // Under the module's locks.

    void enter(uint32 id) { mID.set(id); }
    bool checkNewVariable(const String& name) const;
    bool checkStoreVariables(const String& breakpoint, const Container::List<String>& names) const;
    void connectClient(ClientInfo* client);
    void disconnectClient(ClientInfo* client);
    void attachInstance(ObjectInstance& instance);
    void sendRegister();
    void sendUnregister();
    bool isConnected() const noexcept { return mClient != nullptr; }

    // Under the data mutex.

    bool holdBreakpoint(BreakpointInstance* breakpoint, ObjectInstance* trigger);

    ObjectGroup* mGroup;
    Module* mModule;
    String mName;
    ElementID mID{"ObjectType"};
    std::array<uint32, 4> mUniqueID{};
    std::atomic<bool> mIsAttached{false};
    std::atomic<bool> mBreakflag{false};
    std::atomic<uint32> mHoldingBreakpointID{INVALID_BREAKPOINT_INSTANCE_ID};
    ClientInfo* mClient = nullptr;
    Container::Vector<VariableType*> mVariableList; ///< in the order of declaration
    Container::StringLookUp<uint32> mVarNamesToVarIDs;
    Container::StringLookUp<BreakpointInstance*> mBreakpoints;
    Container::LookUp<uint32, ObjectInstance*> mInstances;
};

} // namespace Tarq::Common::Debugger
