#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/internal/holdingid.h"
#include "common/debugger/internal/modellock.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectinstance.h"
#include "common/exceptions/internal/guarded.h"

/// What a module does when its breakpoints are passed.
namespace Tarq::Common::Debugger {

bool Module::isBreakpointActivated() const noexcept {
    return isBreakpointHolding() || mServer->isBreakpointHolding();
}

bool Module::takeStop() noexcept {
    return mIsToStop.load(std::memory_order_relaxed) && mIsToStop.exchange(false, std::memory_order_relaxed);
}

bool Module::writeHistoryEntry(const BreakpointInstance* breakpoint, const ObjectInstance* trigger) {
    const ModelLock inside(*this);
    return recordPass(breakpoint, trigger);
}

/// The data mutex is enough: nobody has the history in hand without it.
bool Module::recordPass(const BreakpointInstance* breakpoint, const ObjectInstance* trigger) {
    Exceptions::CaughtText caught;
    const bool isWritten = Exceptions::runGuarded(caught, [&] {
        const uint32 instanceID = trigger->getID();
        std::unique_ptr<HistoryEntry> entry(mHistory.takeOldest(instanceID));
        if (!entry)
            entry.reset(new (getAllocator()) HistoryEntry);
        entry->begin(mServer->getGameTime().mCount, Server::getSystemTime().mCount, breakpoint->getID(), instanceID);
        recordVariables(*entry, *breakpoint, *trigger);
        const bool isAdded = mHistory.addEntry(instanceID, entry.get());
        if (isAdded)
            static_cast<void>(entry.release());
        return isAdded;
    });
    if (caught.isCaught())
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Debugger::Module::writeHistoryEntry"},
                      "A pass of a breakpoint couldn't be recorded: ", caught.getText());
    return isWritten;
}

void Module::recordVariables(HistoryEntry& entry, const BreakpointInstance& breakpoint, const ObjectInstance& trigger) {
    for (const VariableType* const type : breakpoint.mStoredVariables) {
        const VariableInstance* const variable = trigger.findVariable(type->getID());
        if (TARQ_ASSERT_AS("objectInstance->getVariableInstance(var, *iter)", variable, "Breakpoint (",
                           breakpoint.getName(), ") for ObjectInstance (", trigger.getName(),
                           ") tries to store unknown Variable (", type->getName(), ")"))
            entry.addStored(*variable);
    }
    entry.setWatches({trigger.getWatchedVariables().data(), trigger.getWatchedVariables().size()});
}

bool Module::sendBreakpointState(const ObjectInstance* trigger) {
    const ModelLock inside(*this);
    if (!mClient)
        return TARQ_FAIL("Module is sending BreakpointState but no client is connected to this module (name: ", mName,
                         ", version: ", mVersion, ")");
    HistoryEntry* entry = nullptr;
    if (!mHistory.getLatestEntry(trigger->getID(), entry))
        return TARQ_FAIL("Can't get HistoryEntry for Object (", trigger->getName(),
                         ") -> can't report breakpoint state");
    bool isWritten = false;
    const bool isSent = send(MessageID::BREAKPOINT_STATE, [&](Network::Message::MessageBuilder& builder) {
        builder.write(mModuleID);
        builder.write(trigger->getID());
        entry->write(builder);
        isWritten = true;
    });
    if (!isWritten)
        return TARQ_FAIL("Couldn't collect data of breakpoint state from module (name: ", mName,
                         ", version: ", mVersion, ")");
    return isSent || TARQ_FAIL("Couldn't send breakpoint state message to client");
}

bool Module::holdBreakpoint(uint32 groupID, BreakpointInstance* breakpoint, ObjectInstance* trigger) {
    {
        const Threading::ScopedLock inside(mMutex);
        if (!reportHold(breakpoint, trigger))
            return false;
    }
    const HoldingID holding(mHoldingGroupID, groupID);
    return mServer->holdBreakpoint(this, breakpoint, trigger);
}

/// Every pass is recorded, also one that cannot be held.
bool Module::reportHold(BreakpointInstance* breakpoint, ObjectInstance* trigger) {
    TARQ_ASSERT_AS("isClientConnected()", mClient,
                   "Breakpoint becomes holding but no client is connected (internal error)");
    if (!recordPass(breakpoint, trigger))
        return TARQ_FAIL("Couldn't write history entry during BreakpointActivation");
    return sendBreakpointState(trigger) || TARQ_FAIL("Couldn't report to client that module has holding breakpoint");
}

} // namespace Tarq::Common::Debugger
