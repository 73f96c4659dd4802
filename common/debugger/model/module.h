#pragma once

#include "common/container/idvector.h"
#include "common/container/stringlookup.h"
#include "common/debug/assert.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/elementid.h"
#include "common/debugger/model/historylist.h"
#include "common/memory/memorymanaged.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/reflection/function/functionregistrar.h"
#include "common/string.h"
#include "common/threading/mutex.h"

#include <atomic>
#include <memory>

namespace Tarq::Common::Debugger {

class BreakpointInstance;
class BreakpointType;
class ClientInfo;
class ObjectGroup;
class ObjectInstance;
class ObjectType;
class Server;
class VariableType;

/// A part of the host that debugging tools see by itself: a tree of groups with types, the instances of these, and the
/// kinds of breakpoints that the host's threads come by.
///
///     Module* const world = server.createModule("world", 1, 100);
///     world->registerBreakpointType("step");
///     ObjectGroup* const agents = world->createObjectGroup("agents");
///     ObjectType* const walker = agents->createObjectType("walker");
///     walker->registerVariableType(STREAM_TYPE_FLOAT32, "speed", true);
///     BreakpointInstance* const stepped = walker->registerBreakpointInstance("stepped", "step", nullptr);
///     walker->attach();
///     world->attach();
///     ObjectInstance* const ann = walker->createObjectInstance("ann");
///     ann->registerVariable("speed", &agent.speed);
///     ann->attach();
///     ...
///     stepped->enterBreakpoint(ann); // the thread goes on when the tool lets it
///
/// The ids of elements are unique in their module, among those of the same kind, and are used again.
///
/// Ownership: the server's; a module owns all its elements. What the host destroys is in use by no thread of the host.
/// Threads: any. What is not said to cost no lock takes the server's data mutex and then the module's, and is not
/// called by a log listener. Failures are assertions, and null or false; what a client cannot be told is asserted, and
/// done all the same. `OutOfMemoryException` is thrown where something is made; nothing has changed then.
class TARQ_API Module : public Memory::MemoryManaged {
public:
    ~Module() override;

    /// Lets clients connect. No breakpoint types are registered after that.
    void attach();
    bool isAttached() const noexcept { return mIsAttached.load(std::memory_order_relaxed); }

    const String& getName() const noexcept { return mName; }
    uint32 getVersion() const noexcept { return mVersion; }
    uint32 getModuleID() const noexcept { return mModuleID; }
    Server& getServer() const noexcept { return *mServer; }

    /// What tools may call. See `Server::getFunctionRegistrar`. Calls that wait when the module is destroyed are
    /// dropped; one that runs goes on, and `RPCHelper::waitForCall` waits for it.
    const Reflection::Function::FunctionRegistrarPtr& getFunctionRegistrar() const noexcept {
        return mFunctionRegistrar;
    }

    /// Makes a group at the top, which a connected client hears of at once. Null when the name is taken.
    ObjectGroup* createObjectGroup(const String& name);
    /// Null when the name is taken, and when the module is attached.
    BreakpointType* registerBreakpointType(const String& name);

    // By id: false, without a report, when there is none. By name: asserted as well.

    bool getObjectGroup(ObjectGroup*& out, uint32 id) const;
    bool getObjectGroup(ObjectGroup*& out, const String& name) const;
    bool getObjectType(ObjectType*& out, uint32 id) const;
    bool getObjectInstance(ObjectInstance*& out, uint32 id) const;
    bool getVariableType(VariableType*& out, uint32 id) const;
    bool getBreakpointType(BreakpointType*& out, uint32 id) const;
    bool getBreakpointType(BreakpointType*& out, const String& name) const;
    bool getBreakpointInstance(BreakpointInstance*& out, uint32 id) const;

    bool isClientConnected() const;
    /// Tells the client of all that is attached, from now on as it changes.
    bool connectClient(ClientInfo* client);
    /// Forgets the client: the breakpoints and break requests that it has set are off. The module's part of
    /// `Server::disconnectModule`, which ends a step, too; who is held in the module is not let go by this.
    void disconnectClient();

    /// Has the next breakpoint of the module hold, once.
    void stopInNextBreakpoint() noexcept { mIsToStop.store(true, std::memory_order_relaxed); }
    /// Whether a thread is held in this module. Costs no lock.
    bool isBreakpointHolding() const noexcept {
        return mHoldingGroupID.load(std::memory_order_relaxed) != INVALID_OBJECT_GROUP_ID;
    }
    /// Whether one is held in this or any other module. Costs no lock.
    bool isBreakpointActivated() const noexcept;

    /// Records that the trigger passes the breakpoint. False when there is no memory, which is logged; an entry that
    /// was to make room for it is gone then.
    bool writeHistoryEntry(const BreakpointInstance* breakpoint, const ObjectInstance* trigger);
    /// Tells the client of the newest entry of the trigger.
    bool sendBreakpointState(const ObjectInstance* trigger);

    // For the debugger's other classes. The caller holds the data mutex.

    Threading::Mutex& getMutex() const noexcept { return mMutex; }
    ClientInfo* getClient() const noexcept { return mClient; }
    HistoryList& getHistory() noexcept { return mHistory; }
    const Container::IDVector<BreakpointType>& getBreakpointTypes() const noexcept { return mBreakpointTypes; }
    ObjectGroup* findObjectGroup(uint32 id) const noexcept { return mObjectGroups.get(id); }
    ObjectType* findObjectType(uint32 id) const noexcept { return mObjectTypes.get(id); }
    ObjectInstance* findObjectInstance(uint32 id) const noexcept { return mObjectInstances.get(id); }
    VariableType* findVariableType(uint32 id) const noexcept { return mVariableTypes.get(id); }
    BreakpointInstance* findBreakpointInstance(uint32 id) const noexcept { return mBreakpointInstances.get(id); }

    /// Sends the client a message of this type, whose fields `writeFields` writes. False when it cannot be sent.
    template <class WriteFields>
    bool send(MessageID type, const WriteFields& writeFields) {
        return sendFields(
            type,
            [](Network::Message::MessageBuilder& builder, const void* write) {
                (*static_cast<const WriteFields*>(write))(builder);
            },
            &writeFields);
    }
    /// The same about an element that comes or goes. Asserts that it can be sent.
    template <class WriteFields>
    void report(MessageID type, const WriteFields& writeFields) {
        if (!send(type, writeFields))
            TARQ_FAIL("Couldn't send (late)bound message to client");
    }

private:
    friend class BreakpointInstance;
    friend class ObjectGroup;
    friend class ObjectInstance;
    friend class ObjectType;
    friend class Server;

    Module(Server* server, const String& name, uint32 version, uint32 maxHistoryLength);

    using WriteFieldsFunction = void (*)(Network::Message::MessageBuilder& builder, const void* write);

    void setModuleID(uint32 moduleID) noexcept { mModuleID = moduleID; }
    std::unique_ptr<ObjectGroup> makeGroup(const String& name, ObjectGroup* parent);
    bool sendFields(MessageID type, WriteFieldsFunction function, const void* write);
    bool takeStop() noexcept;
    bool recordPass(const BreakpointInstance* breakpoint, const ObjectInstance* trigger);
    void recordVariables(HistoryEntry& entry, const BreakpointInstance& breakpoint, const ObjectInstance& trigger);
    bool holdBreakpoint(uint32 groupID, BreakpointInstance* breakpoint, ObjectInstance* trigger);
    bool reportHold(BreakpointInstance* breakpoint, ObjectInstance* trigger);
    void checkEmpty() const;

    Server* mServer;
    String mName;
    uint32 mVersion;
    uint32 mModuleID = 0xFFFFFFFF;
    Reflection::Function::FunctionRegistrarPtr mFunctionRegistrar;
    mutable Threading::Mutex mMutex;
    std::atomic<bool> mIsAttached{false};
    std::atomic<bool> mIsToStop{false};
    std::atomic<uint32> mHoldingGroupID{INVALID_OBJECT_GROUP_ID};

    // Guarded by the data mutex.

    ClientInfo* mClient = nullptr;
    Container::IDVector<ObjectGroup> mObjectGroups;
    Container::IDVector<ObjectType> mObjectTypes;
    Container::IDVector<ObjectInstance> mObjectInstances;
    Container::IDVector<BreakpointType> mBreakpointTypes;
    Container::IDVector<BreakpointInstance> mBreakpointInstances;
    Container::IDVector<VariableType> mVariableTypes;
    Container::StringLookUp<ObjectGroup*> mTopGroups;
    Container::StringLookUp<uint32> mBreakpointTypeIDs;
    HistoryList mHistory;
};

} // namespace Tarq::Common::Debugger
