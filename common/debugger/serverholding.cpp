#include "common/debug/assert.h"
#include "common/debugger/clientinfo.h"
#include "common/debugger/model/breakpointinstance.h"
#include "common/debugger/model/breakpointtype.h"
#include "common/debugger/model/module.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/server.h"

/// How the server holds threads at breakpoints and lets them go.
namespace Tarq::Common::Debugger {

bool Server::holdBreakpoint(Module* module, BreakpointInstance* breakpoint, ObjectInstance* trigger) {
    if (isBreakpointHolding())
        return TARQ_FAIL("module (", module->getName(), ") becomes holding but module (", mModuleHolding->getName(),
                         ") is still holding");
    mMakeStepFilter = StepFilter();
    mModuleHolding = module;
    mBreakpointInstanceHolding = breakpoint;
    mObjectInstanceHolding = trigger;
    mIsBreakpointHolding.store(true, std::memory_order_relaxed);
    // At the gate before the mutex is let go of: whoever answers the state that the client has been sent finds it. A
    // server that stops has no gate any more, and nobody to be let pass there.
    const bool isAtGate = mBreakpointGate.registerPublic();
    mIsLetPass = !isAtGate;
    const uint32 depth = sDataMutex.unlockAll();
    if (isAtGate)
        mBreakpointGate.waitForPass();
    sDataMutex.lockAgain(depth);
    mIsBreakpointHolding.store(false, std::memory_order_relaxed);
    mModuleHolding = nullptr;
    mBreakpointInstanceHolding = nullptr;
    mObjectInstanceHolding = nullptr;
    return true;
}

/// Once for each hold: what comes after that, a disconnect for example, finds an empty gate.
bool Server::letPass() {
    if (!mIsLetPass)
        mIsLetPass = mBreakpointGate.allowOnePublicPass();
    return mIsLetPass;
}

bool Server::makeContinue(ClientInfo* client) {
    client->mBreakflag = false;
    if (mMakeStepFilter.mClient == client)
        mMakeStepFilter = StepFilter();
    if (!isBreakpointHolding())
        return true;
    if (!TARQ_ASSERT_AS("mModuleHolding != NULL", mModuleHolding,
                        "Internal Error: Breakpoint is holding but no holdingModule is set"))
        return false;
    if (mModuleHolding->getClient() != client)
        return false;
    return letPass() || TARQ_FAIL("Error during make continue in a holding Breakpoint");
}

void Server::releaseAbandoned(const Module& module) {
    if (isBreakpointHolding() && mModuleHolding == &module && !module.getClient() && !letPass())
        TARQ_FAIL("Error during make continue in a holding Breakpoint");
}

bool Server::makeStep(uint32 connectionID, bool objectInstanceFilter, uint32 breakpointTypeFilterID) {
    if (!TARQ_ASSERT_AS(nullptr, isBreakpointHolding() && !mIsLetPass,
                        "Tried to make step but no Breakpoint is holding"))
        return false;
    ClientInfo* client = nullptr;
    if (!TARQ_ASSERT(getClientInfo(client, connectionID), "Internal Error: ClientInfo missing"))
        return false;
    if (const ClientInfo* const owner = mModuleHolding->getClient(); owner != client)
        return TARQ_FAIL("Client (", client->mComputerName, ", ", client->mUserName, ") tried to makeStep but Module (",
                         mModuleHolding->getName(), ") that is connected to Client (",
                         owner ? owner->mComputerName : String(), ", ", owner ? owner->mUserName : String(),
                         ") has a holding breakpoint");
    mMakeStepFilter = {client, mModuleHolding,
                       objectInstanceFilter ? mObjectInstanceHolding->getID() : uint32{StepFilter::cAny},
                       breakpointTypeFilterID};
    return letPass() || TARQ_FAIL("Error during make step in a holding Breakpoint");
}

bool Server::isStepMatched(const Module& module, const BreakpointInstance& breakpoint,
                           const ObjectInstance& trigger) const {
    if (!mMakeStepFilter.isPending())
        return false;
    if (!TARQ_ASSERT_AS("mMakeStepFilter.mModule != NULL", mMakeStepFilter.mModule,
                        "Internal Error: MakeStep is aktive but no module is set") ||
        mMakeStepFilter.mModule != &module)
        return true;
    const auto matches = [](uint32 filter, uint32 id) { return filter == StepFilter::cAny || filter == id; };
    return matches(mMakeStepFilter.mObjectInstanceID, trigger.getID()) &&
           matches(mMakeStepFilter.mBreakpointTypeID, breakpoint.getType()->getID());
}

void Server::stopHolding() {
    const DataLock inside(sDataMutex);
    mIsHoldingStopped = true;
    if (!mBreakpointGate.isActivated())
        return;
    mBreakpointGate.close();
    mIsLetPass = true;
}

/// The host may have said already that nobody is to be held any more.
void Server::startHolding() {
    const DataLock inside(sDataMutex);
    if (!mIsHoldingStopped)
        mBreakpointGate.activate();
}

} // namespace Tarq::Common::Debugger
