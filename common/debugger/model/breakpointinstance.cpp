#include "common/debugger/model/breakpointinstance.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/condition/conditionparser.h"
#include "common/debugger/internal/insidemark.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/internal/serverthread.h"
#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/objectgroup.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"
#include "common/debugger/model/variabletype.h"
#include "common/exceptions/internal/guarded.h"
#include "common/reflection/datatype/typeddatatype.h"

namespace Tarq::Common::Debugger {

using Parser::Formula::MathValue;
using Parser::Formula::TypedMathValue;

namespace {

/// Lets go of the data mutex while it lives, if that is wanted and the calling thread has it: whoever is inside of a
/// breakpoint needs it to get out.
class DataRelease {
public:
    explicit DataRelease(bool isWanted) noexcept
        : mDepth(isWanted && Server::getDataMutex().isHeld() ? Server::getDataMutex().unlockAll() : 0) {}
    ~DataRelease() {
        if (mDepth != 0)
            Server::getDataMutex().lockAgain(mDepth);
    }
    DataRelease(const DataRelease&) = delete;
    DataRelease& operator=(const DataRelease&) = delete;

private:
    uint32 mDepth;
};

/// The entry lock, and whether the calling thread is inside of it.
class EntryScope {
public:
    explicit EntryScope(Threading::SpinLock& lock) : mLock(lock) { ++tDepth; }
    ~EntryScope() { --tDepth; }
    EntryScope(const EntryScope&) = delete;
    EntryScope& operator=(const EntryScope&) = delete;

    static bool isSet() noexcept { return tDepth != 0; }

private:
    [[gnu::tls_model("initial-exec")]] static inline thread_local constinit uint32 tDepth = 0;
    Threading::ScopedLock<Threading::SpinLock> mLock;
};

/// What the thread inside of the entry lock does. Its assertions and logs may lead it to another breakpoint meanwhile.
enum class Phase : uint8 {
    PHASE_DECIDING,
    PHASE_COMPUTING, ///< a condition, which a tool would take away under it if it were held
    PHASE_HOLDING,   ///< it is on its way to be held, or held
};
constinit Phase gPhase = Phase::PHASE_DECIDING;

class PhaseScope {
public:
    explicit PhaseScope(Phase phase) noexcept : mBefore(gPhase) { gPhase = phase; }
    ~PhaseScope() { gPhase = mBefore; }
    PhaseScope(const PhaseScope&) = delete;
    PhaseScope& operator=(const PhaseScope&) = delete;

private:
    Phase mBefore;
};

} // namespace

BreakpointInstance::BreakpointInstance(ObjectType* objectType, BreakpointType* type, const String& name)
    : mObjectType(objectType), mType(type), mName(name), mResolver(getAllocator(), objectType),
      mStoredVariables(getAllocator()) {}

BreakpointInstance::~BreakpointInstance() {
    if (isActive())
        setInactive();
    if (getID() != INVALID_BREAKPOINT_INSTANCE_ID)
        mObjectType->getModule().mBreakpointInstances.remove(getID());
}

void BreakpointInstance::setStoredVariables(const Container::List<String>& names) {
    for (const String& name : names)
        mStoredVariables.push_back(mObjectType->findVariable(name));
}

void BreakpointInstance::getStoredVariables(Container::List<String>& out) const {
    out.clear();
    for (const VariableType* const variable : mStoredVariables)
        out.push_back(variable->getName());
}

void BreakpointInstance::setActive() {
    const ModelLock inside(mObjectType->getModule());
    if (TARQ_ASSERT(!isActive(), "Tried to set Breakpoint active while it is already active"))
        mIsActive.store(true, std::memory_order_relaxed);
}

void BreakpointInstance::setInactive() {
    const ModelLock inside(mObjectType->getModule());
    if (TARQ_ASSERT(isActive(), "Tried to set Breakpoint inactive while it is already inactive"))
        mIsActive.store(false, std::memory_order_relaxed);
}

int32 BreakpointInstance::setCondition(IO::Stream* stream) {
    const ModelLock inside(mObjectType->getModule());
    if (!TARQ_ASSERT(stream, "Tried to set new Condition to Breakpoint (", mName, ") with NULL pointer") ||
        !TARQ_ASSERT_AS(nullptr, gPhase != Phase::PHASE_COMPUTING, "Tried to set new Condition to Breakpoint (", mName,
                        ") while a Condition is computed"))
        return CONDITION_NOT_BOOLEAN;
    if (stream->getPosition() >= stream->getLength()) {
        mCondition.reset();
        return CONDITION_SET;
    }
    String error;
    std::unique_ptr<MathValue> formula = parseCondition(*stream, mResolver, getAllocator(), error);
    if (!error.empty())
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Debugger::BreakpointInstance::setCondition"},
                      "The condition of breakpoint ", mName, " couldn't be read: ", error);
    mCondition.reset();
    const bool isBoolean = formula && formula->getDatatypeID() == Reflection::Datatype::GET_DATATYPE_ID<bool>();
    auto* const condition = isBoolean ? dynamic_cast<TypedMathValue<bool>*>(formula.get()) : nullptr;
    if (!condition) {
        TARQ_FAIL("Tried to set new Condition to Breakpoint (", mName, ") that isn't of type bool");
        return CONDITION_NOT_BOOLEAN;
    }
    static_cast<void>(formula.release());
    mCondition.reset(condition);
    return CONDITION_SET;
}

void BreakpointInstance::enterBreakpoint(ObjectInstance* trigger) {
    const InsideMark mark;
    if (!TARQ_ASSERT(trigger, "Tried to enter Breakpoint with NULL pointer instead of a valid ObjectInstance") ||
        !TARQ_ASSERT(trigger->isAttached(), "Tried to enter Breakpoint with unattached ObjectInstance") ||
        !TARQ_ASSERT(trigger->getType() == mObjectType, "Tried to enter Breakpoint (", mName, ") with ObjectInstance (",
                     trigger->getName(), ") of another ObjectType"))
        return;
    Module& module = mObjectType->getModule();
    // The server's thread would wait for itself: whoever is inside may be held, until that one lets it pass. It would
    // also wait for who is in the middle of an operation on the model.
    if (ServerThreadMark::isSet(ServerThreadMark::MESSAGES) || ModelLock::isSet()) {
        module.writeHistoryEntry(this, trigger);
        return;
    }
    const DataRelease released(!EntryScope::isSet());
    const EntryScope entry(module.getServer().getBreakpointEntryLock());
    const Server::DataLock inside(Server::getDataMutex());
    pass(*trigger);
}

void BreakpointInstance::pass(ObjectInstance& trigger) {
    Module& module = mObjectType->getModule();
    if (gPhase == Phase::PHASE_COMPUTING || !shallHold(trigger) || module.getServer().isHoldingStopped()) {
        module.recordPass(this, &trigger);
    } else if (gPhase == Phase::PHASE_HOLDING) {
        TARQ_FAIL("Another BreakpointInstance is already holding (NOT holding additional BreakpointInstances)");
        failToHold();
    } else {
        holdOnBreakpoint(trigger);
    }
}

bool BreakpointInstance::shallHold(ObjectInstance& trigger) {
    Module& module = mObjectType->getModule();
    if (trigger.takeStop() || module.takeStop())
        return true;
    if (isActive() && isConditionTrue(trigger))
        return true;
    if (trigger.isBreakflagSet() || (trigger.getClient() && trigger.getClient()->mBreakflag))
        return true;
    return module.getServer().isStepMatched(module, *this, trigger);
}

/// A condition without a value, be it that a variable is gone or that there is no memory, is not true.
bool BreakpointInstance::isConditionTrue(const ObjectInstance& trigger) {
    if (!mCondition)
        return true;
    const PhaseScope computing(Phase::PHASE_COMPUTING);
    Exceptions::CaughtText caught;
    const bool isTrue = Exceptions::runGuarded(caught, [&] {
        if (mCondition->isConstant())
            return mCondition->evaluate(nullptr);
        DebuggerVariableAccessor* const accessor = trigger.getVariableAccessor();
        accessor->begin();
        return mCondition->evaluate(accessor) && !accessor->isMissing();
    });
    if (caught.isCaught())
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Debugger::BreakpointInstance::enterBreakpoint"},
                      "The condition of breakpoint ", mName, " couldn't be computed: ", caught.getText());
    return isTrue;
}

void BreakpointInstance::holdOnBreakpoint(ObjectInstance& trigger) {
    const PhaseScope holding(Phase::PHASE_HOLDING);
    if (!mObjectType->holdBreakpoint(this, &trigger))
        failToHold();
}

void BreakpointInstance::failToHold() const {
    TARQ_FAIL("Couldn't enter breackpoint ( ", mName, " ) (Breakpoint NOT holding)");
}

void BreakpointInstance::disconnectClient() {
    mCondition.reset();
    mIsActive.store(false, std::memory_order_relaxed);
}

} // namespace Tarq::Common::Debugger
