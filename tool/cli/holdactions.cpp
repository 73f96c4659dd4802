#include "tool/cli/commandactions.h"
#include "tool/client/quoting.h"
#include "tool/condition/conditioncompiler.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;

namespace {

const char* nameOfSwitch(bool isOn) noexcept {
    return isOn ? "on" : "off";
}

void breakAlways(Debugger& debugger) {
    debugger.requireModule();
    debugger.requireSent(debugger.getClient().breakClient());
    debugger.answer("done", {{"command", "break"}, {"kind", "client"}, {"value", true}},
                    {"every breakpoint holds, until \"continue\""});
    debugger.catchUp();
}

/// What the breakpoint's type has, as the condition may name it.
Container::Vector<ConditionVariable> variablesOf(const ModuleModel& model, uint32 breakpointID) {
    Container::Vector<ConditionVariable> variables(Library::getTempAlloc());
    const ModuleModel::Type* const type = model.findType(model.findBreakpoint(breakpointID)->typeID);
    for (const VariableRecord& variable : type->registration.variables)
        variables.push_back({variable.name, variable.type});
    return variables;
}

CompiledCondition compile(const Debugger& debugger, uint32 breakpointID, std::string_view text) {
    CompiledCondition compiled;
    ConditionError error;
    if (compileCondition(text, variablesOf(debugger.getModel(), breakpointID), compiled, error))
        return compiled;
    const std::string column = std::to_string(error.column);
    const std::string caret(std::max<uint32>(error.column, 1) - 1, ' ');
    throw CommandFailure(EXIT_USAGE, "the condition is wrong: " + toStd(error.text) + " (column " + column + ')',
                         {std::string(text), caret + '^'});
}

} // namespace

void setBreak(Debugger& debugger, Words& words) {
    const std::string_view kind = words.take();
    if (kind == "client") {
        expectEnd(words);
        breakAlways(debugger);
        return;
    }
    if (kind != "instance" && kind != "breakpoint")
        throw CommandFailure(EXIT_USAGE, "instance, breakpoint or client is missing");
    const Found found = takePath(debugger, words, {kind == "instance" ? ELEMENT_INSTANCE : ELEMENT_BREAKPOINT});
    const bool isOn = takeSwitch(words);
    expectEnd(words);
    const std::string path = pathOf(debugger, found);
    if (found.kind == ELEMENT_INSTANCE) {
        BreakInstance request;
        request.moduleID = debugger.getModuleID();
        request.instanceID = found.id;
        request.newValue = isOn;
        debugger.ask(request);
    } else {
        SetBreakpoint request;
        request.moduleID = debugger.getModuleID();
        request.breakpointID = found.id;
        request.newValue = isOn;
        debugger.ask(request);
    }
    debugger.answer("done", {{"command", "break"}, {"kind", nameOfKind(found.kind)}, {"path", path}, {"value", isOn}},
                    {path + " is " + nameOfSwitch(isOn)});
}

void setCondition(Debugger& debugger, Words& words) {
    const Found found = takePath(debugger, words, {ELEMENT_BREAKPOINT});
    const std::string_view text = words.takeRest();
    SetCondition request;
    request.moduleID = debugger.getModuleID();
    request.breakpointID = found.id;
    std::string canonical;
    if (!text.empty()) {
        const CompiledCondition compiled = compile(debugger, found.id, text);
        canonical = toStd(compiled.canonical);
        request.condition.assign(compiled.document.begin(), compiled.document.end());
    }
    const std::string path = pathOf(debugger, found);
    debugger.ask(request);
    debugger.answer("done", {{"command", "condition"}, {"path", path}, {"condition", canonical}},
                    {path + (canonical.empty() ? " has no condition" : " has the condition " + canonical)});
}

void makeStep(Debugger& debugger, Words& words) {
    MakeStep request;
    while (!words.isEmpty()) {
        const std::string_view word = words.take();
        if (word == "--instance") {
            request.isSameInstance = true;
        } else if (word == "--type") {
            const auto type = findBreakpointType(debugger.getModel(), words.take());
            if (const std::string* const problem = std::get_if<std::string>(&type))
                throw CommandFailure(EXIT_USAGE, *problem);
            request.breakpointTypeID = std::get<uint32>(type);
        } else {
            throw CommandFailure(EXIT_USAGE, "a step has no " + quote(word));
        }
    }
    debugger.requireModule();
    if (!debugger.mayHold())
        throw CommandFailure(EXIT_USAGE, "nothing is held");
    debugger.leaveHold(debugger.getClient().step(request));
    debugger.answer("done", {{"command", "step"}}, {"stepping"});
    debugger.catchUp();
}

void letGo(Debugger& debugger, Words& words) {
    expectEnd(words);
    debugger.leaveHold(debugger.getClient().letGo());
    debugger.answer("done", {{"command", "continue"}}, {"continuing"});
    debugger.catchUp();
}

} // namespace Tarq::Tool
