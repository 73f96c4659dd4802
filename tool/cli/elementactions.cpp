#include "tool/cli/commandactions.h"
#include "tool/cli/modulelines.h"
#include "tool/cli/valuejson.h"

namespace Tarq::Tool {

using namespace Common;

namespace {

/// A host refuses with it to watch what is watched, and not to watch what is not.
constexpr int cIsSoAlready = 5;

/// Fills what requests about a variable begin with.
template <class Request>
Request about(const Debugger& debugger, uint32 instanceID, uint32 variableID) {
    Request request;
    request.moduleID = debugger.getModuleID();
    request.instanceID = instanceID;
    request.variableID = variableID;
    return request;
}

void showVariable(Debugger& debugger, uint32 instanceID, const VariableRecord& variable) {
    const std::string path = debugger.getModel().pathOf(instanceID, variable.id);
    const GetVariableReply reply = debugger.ask(about<GetVariable>(debugger, instanceID, variable.id));
    debugger.answer("value", {{"path", path}, {"type", nameOfType(variable.type)}, {"value", jsonOfValue(reply.value)}},
                    {path + " = " + textOfValue(reply.value)});
}

} // namespace

void showTree(Debugger& debugger, Words& words) {
    debugger.requireModule();
    ElementID from{};
    const bool isWhole = words.isEmpty();
    if (!isWhole) {
        const Found found = takePath(debugger, words, {ELEMENT_GROUP, ELEMENT_TYPE, ELEMENT_INSTANCE});
        from = {found.kind, found.id};
    }
    expectEnd(words);
    const ModuleModel& model = debugger.getModel();
    forEachElement(model, isWhole ? nullptr : &from, [&](ElementID element, std::size_t depth) {
        debugger.answer("element", jsonOfElement(model, element), linesOfElement(model, element, depth));
    });
}

void getValue(Debugger& debugger, Words& words) {
    const Found found = takePath(debugger, words, {ELEMENT_VARIABLE, ELEMENT_INSTANCE});
    expectEnd(words);
    const ModuleModel& model = debugger.getModel();
    if (found.kind == ELEMENT_VARIABLE) {
        showVariable(debugger, found.instanceID, VariableRecord(model.findVariable(found.id)->record));
        return;
    }
    // A copy: while an answer is waited for, the type may go.
    const ModuleModel::Type type = *model.findType(model.findInstance(found.id)->typeID);
    for (const VariableRecord& variable : type.registration.variables)
        showVariable(debugger, found.id, variable);
}

void setValue(Debugger& debugger, Words& words) {
    const Found found = takePath(debugger, words, {ELEMENT_VARIABLE});
    const VariableRecord& variable = debugger.getModel().findVariable(found.id)->record;
    const std::string path = pathOf(debugger, found);
    if (!variable.isWritable)
        throw CommandFailure(EXIT_USAGE, path + " cannot be written");
    SetVariable request = about<SetVariable>(debugger, found.instanceID, found.id);
    const std::string_view text = words.takeRest();
    if (text.empty())
        throw CommandFailure(EXIT_USAGE, "the value is missing");
    const std::string problem = parseValue(variable.type, text, request.value);
    if (!problem.empty())
        throw CommandFailure(EXIT_USAGE, problem);
    debugger.ask(request);
    debugger.answer("done", {{"command", "set"}, {"path", path}, {"value", jsonOfValue(request.value)}},
                    {path + " is " + textOfValue(request.value) + " now"});
}

void setWatch(Debugger& debugger, Words& words) {
    const Found found = takePath(debugger, words, {ELEMENT_VARIABLE});
    SetWatch request = about<SetWatch>(debugger, found.instanceID, found.id);
    request.newFlag = takeSwitch(words);
    expectEnd(words);
    const std::string path = pathOf(debugger, found);
    const bool isNew = debugger.ask(request, cIsSoAlready).code == 0;
    const char* const on = isNew ? " is watched" : " is watched already";
    const char* const off = isNew ? " is not watched any more" : " was not watched";
    debugger.answer("done", {{"command", "watch"}, {"path", path}, {"value", request.newFlag}},
                    {path + (request.newFlag ? on : off)});
}

void showHistory(Debugger& debugger, Words& words) {
    const Found found = takePath(debugger, words, {ELEMENT_INSTANCE});
    expectEnd(words);
    GetHistory request;
    request.moduleID = debugger.getModuleID();
    request.instanceID = found.id;
    const std::string path = pathOf(debugger, found);
    const GetHistoryReply reply = debugger.ask(request);
    const ModuleModel& model = debugger.getModel();
    debugger.answer("history",
                    {{"instance", path},
                     {"gameTime", reply.gameTime},
                     {"systemTime", reply.systemTime},
                     {"entries", reply.entries.size()}},
                    linesOfHistory(model, reply));
    for (const HistoryEntry& entry : reply.entries)
        debugger.answer("historyEntry", jsonOfEntry(model, found.id, entry), {});
}

} // namespace Tarq::Tool
