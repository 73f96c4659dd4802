#pragma once

#include "common/container/list.h"
#include "common/container/vector.h"
#include "common/debugger/condition/debuggervariableresolver.h"
#include "common/debugger/model/elementid.h"
#include "common/export.h"
#include "common/io/stream.h"
#include "common/memory/memorymanaged.h"
#include "common/parser/formula/mathvalue.h"
#include "common/string.h"

#include <atomic>
#include <memory>

namespace Tarq::Common::Debugger {

class BreakpointType;
class ObjectInstance;
class ObjectType;
class VariableType;

/// A place in the host's code that objects of one type come by, and at which a tool may hold the thread.
///
/// Made by `ObjectType::registerBreakpointInstance`. Ownership, threads and failures: as in `Module`.
class TARQ_API BreakpointInstance : public Memory::MemoryManaged {
public:
    /// What `setCondition` returns.
    enum ConditionResult : int32 {
        CONDITION_SET = 0,         ///< or removed
        CONDITION_NOT_BOOLEAN = 1, ///< or no expression; there is no condition then
    };

    ~BreakpointInstance() override;

    const String& getName() const noexcept { return mName; }
    uint32 getID() const noexcept { return mID.get(); }
    BreakpointType* getType() const noexcept { return mType; }
    ObjectType* getObjectType() const noexcept { return mObjectType; }
    /// The names of the variables that each pass records.
    void getStoredVariables(Container::List<String>& out) const;

    /// The calling thread is here, with this object, which is an attached one of the breakpoint's type. Records it;
    /// returns when the thread may go on: at once, or when a tool that wants to look around has done so.
    ///
    /// No lock that the server's thread or another thread at a breakpoint needs is held here; the data mutex may be, it
    /// is let go of meanwhile. On the server's own threads nothing holds, nor in what an operation on the model calls,
    /// an assertion callback for example. Nothing is thrown.
    void enterBreakpoint(ObjectInstance* trigger);

    bool isActive() const noexcept { return mIsActive.load(std::memory_order_relaxed); }
    /// Has it hold whenever its condition is true. Asserts that it is not active yet.
    void setActive();
    void setInactive();
    /// Takes a formula, as an XML document, from the stream's position on, over the variables of the object type; or
    /// none, which is as good as true, from one that is at its end. Whatever there was before is gone. Asserts "Tried
    /// to set new Condition to Breakpoint (", the name and ") that isn't of type bool" for a formula of another type,
    /// and for a document that holds none. Throws
    /// `OutOfMemoryException`; the condition is the one before then.
    int32 setCondition(IO::Stream* stream);

private:
    friend class Module;
    friend class ObjectType;

    BreakpointInstance(ObjectType* objectType, BreakpointType* type, const String& name);

    void enter(uint32 id) { mID.set(id); }
    void setStoredVariables(const Container::List<String>& names);

    // Under the data mutex.

    void pass(ObjectInstance& trigger);
    bool shallHold(ObjectInstance& trigger);
    bool isConditionTrue(const ObjectInstance& trigger);
    void holdOnBreakpoint(ObjectInstance& trigger);
    void failToHold() const;
    void disconnectClient();

    ObjectType* mObjectType;
    BreakpointType* mType;
    String mName;
    ElementID mID{"BreakpointInstance"};
    std::atomic<bool> mIsActive{false};
    DebuggerVariableResolver mResolver;
    std::unique_ptr<Parser::Formula::TypedMathValue<bool>> mCondition; ///< null for one that is always true
    Container::Vector<const VariableType*> mStoredVariables;
};

} // namespace Tarq::Common::Debugger
