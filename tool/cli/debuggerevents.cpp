#include "tool/cli/debugger.h"
#include "tool/cli/modulelines.h"
#include "tool/client/quoting.h"

namespace Tarq::Tool {

using namespace Common;

void Debugger::onAttached() {
    const ModuleModel& model = getModel();
    mLoss.clear();
    printEvent("attached",
               {{"groups", model.countGroups()}, {"types", model.countTypes()}, {"instances", model.countInstances()}},
               {"attached to " + mModule + " (groups: " + std::to_string(model.countGroups()) + ", types: " +
                std::to_string(model.countTypes()) + ", instances: " + std::to_string(model.countInstances()) + ')'});
}

void Debugger::onTakenOver(const ModuleDisconnectForced& message) {
    ++mUnseen["takeover"];
    mHasTakenOver = false;
    const std::string computer = toStd(message.computerName);
    const std::string user = toStd(message.userName);
    mLoss = mModule + " was taken over by " + printable(user) + " on " + printable(computer);
    printEvent("takenOver", {{"computer", computer}, {"user", user}}, {mLoss});
}

void Debugger::onShutdown() {
    ++mUnseen["shutdown"];
    mHasTakenOver = false;
    mLoss = mModule + " was shut down";
    printEvent("shutdown", Json::object(), {mLoss});
}

void Debugger::onRegistered(ElementID element) {
    ++mUnseen["registration"];
    if (mShowsRegistrations)
        printEvent("registered", jsonOfElement(getModel(), element),
                   {std::string("registered ") + nameOfKind(element.kind) + ' ' + getModel().pathOf(element)});
}

void Debugger::onRemoved(ElementID element) {
    ++mUnseen["removal"];
    const std::string path = getModel().pathOf(element);
    if (mShowsRegistrations)
        printEvent("removed", {{"kind", nameOfKind(element.kind)}, {"path", path}, {"id", element.id}},
                   {std::string("removed ") + nameOfKind(element.kind) + ' ' + path});
}

void Debugger::onHold(const BreakpointState& state) {
    ++mNumHolds;
    // From the first one on it is known what is held.
    mHasTakenOver = false;
    printEvent("hold", jsonOfEntry(getModel(), state.instanceID, state.entry), linesOfHold(getModel(), state));
}

} // namespace Tarq::Tool
