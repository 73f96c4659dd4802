#pragma once

#include "common/container/vector.h"
#include "common/debugger/condition/debuggervariableaccessor.h"
#include "common/debugger/model/elementid.h"
#include "common/debugger/model/variableinstance.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"
#include "common/string.h"

#include <atomic>
#include <memory>

namespace Tarq::Common::Debugger {

class ClientInfo;
class ObjectType;

/// An object of the host: says where the variables of its type are in memory.
///
/// The host keeps these places as long as they are registered. A tool reads and writes them on the server thread, under
/// the data mutex; what the host's own threads do to them meanwhile is the host's affair, as with any debugger.
///
/// Made by `ObjectType::createObjectInstance`. Ownership, threads and failures: as in `Module`.
class TARQ_API ObjectInstance : public Memory::MemoryManaged {
public:
    ~ObjectInstance() override;

    const String& getName() const noexcept { return mName; }
    uint32 getID() const noexcept { return mID.get(); }
    ObjectType* getType() const noexcept { return mType; }

    /// `location` is a value of the declared type. A name that is registered already is moved there. Before `attach`.
    bool registerVariable(const String& name, void* location);
    /// The variable is unknown from then on. After `attach`.
    bool unregisterVariable(uint32 id);
    /// The id of a variable that is registered. False, without a report, for another.
    bool getVarID(uint32& out, const String& name) const;

    /// Asserts that every declared variable is registered; the instance stays unattached otherwise. A connected client
    /// hears of it.
    void attach();
    bool isAttached() const noexcept { return mIsAttached.load(std::memory_order_acquire); }

    // Values of watched variables are recorded whenever the instance passes a breakpoint. After `attach`.

    bool registerWatchedVariable(uint32 id);
    bool unregisterWatchedVariable(uint32 id);
    bool isWatchedVariable(uint32 id) const;

    /// Writes the value, as one item inside an array of uint8. What the builder throws passes on.
    bool getVariableData(Network::Message::MessageBuilder& builder, uint32 id) const;
    /// Reads what `getVariableData` writes. A value that is refused changes nothing.
    VariableInstance::Result setVariableData(uint32 id, Network::Message::MessageReader& reader);

    /// Around a region of the host's code in which the calling thread may enter breakpoints: the game time does not
    /// change meanwhile.
    void enterBreakArea() const;
    void leaveBreakArea() const;
    /// Has the next breakpoint that the instance enters hold, once.
    void stopInNextBreakpoint() noexcept { mIsToStop.store(true, std::memory_order_relaxed); }

    // For the debugger's other classes. The caller holds the data mutex.

    bool isBreakflagSet() const noexcept { return mBreakflag; }
    /// While it is set, every breakpoint that the instance enters holds.
    void setBreakflag(bool isSet) noexcept { mBreakflag = isSet; }
    /// Null when it is not registered.
    const VariableInstance* findVariable(uint32 id) const noexcept;
    const VariableInstance* findVariable(String::Text name) const;
    /// In the order in which the watches were set.
    const Container::Vector<const VariableInstance*>& getWatchedVariables() const noexcept { return mWatchedVariables; }
    /// Where the value of a variable stands. Asserts "Tried to get variable value pointer of an unattached
    /// ObjectInstance". Null then, and when it is not registered (any more).
    void* getVariableValuePointer(String::Text name) const;
    /// The same without a search, for one of the type's variables.
    void* getVariableValuePointer(const VariableType& variable) const {
        if (!isAttached()) [[unlikely]]
            return getVariableValuePointer(variable.getName()); // which reports it
        return variable.getObjectType() == mType ? mVariables[variable.getIndex()].getPointer() : nullptr;
    }
    /// Asserts "Tried to getVariableAccessor of an unattached ObjectInstance"; null then.
    DebuggerVariableAccessor* getVariableAccessor() const;

private:
    friend class BreakpointInstance;
    friend class Module;
    friend class ObjectType;

    ObjectInstance(ObjectType* type, const String& name);

    // Under the module's locks.

    void enter(uint32 id) { mID.set(id); }
    bool checkComplete() const;
    bool isWatched(const VariableInstance* variable) const noexcept;
    bool forgetWatch(const VariableInstance* variable);
    bool checkWatch(uint32 id, const char* unattached, const char* unknown) const;
    void connectClient(ClientInfo* client);
    void disconnectClient(ClientInfo* client);
    bool sendUnregister();
    ClientInfo* getClient() const noexcept { return mClient; }
    bool takeStop() noexcept;

    ObjectType* mType;
    String mName;
    ElementID mID{"ObjectInstance"};
    std::atomic<bool> mIsAttached{false};
    std::atomic<bool> mIsToStop{false};
    bool mBreakflag = false;
    ClientInfo* mClient = nullptr;
    uint32 mVariableCount = 0; ///< that are registered
    /// One place for each variable of the type; empty until it is registered.
    Container::Vector<VariableInstance> mVariables;
    Container::Vector<const VariableInstance*> mWatchedVariables; ///< among them
    std::unique_ptr<DebuggerVariableAccessor> mAccessor;          ///< from `attach` on
};

} // namespace Tarq::Common::Debugger
