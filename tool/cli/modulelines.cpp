#include "tool/cli/modulelines.h"

#include "tool/cli/valuejson.h"

#include <algorithm>
#include <map>
#include <set>

namespace Tarq::Tool {

using namespace Common;

namespace {

struct Place {
    ElementID element;
    std::size_t depth;
};

/// In the reverse order: the last one is taken first.
void push(std::vector<Place>& places, ElementKind kind, const ModuleModel::Names& names, std::size_t depth) {
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        for (auto id = name->second.rbegin(); id != name->second.rend(); ++id)
            places.push_back({{kind, *id}, depth});
    }
}

Json jsonOfType(const ModuleModel& model, const ModuleModel::Type& type) {
    const ObjectTypeRegistration& known = type.registration;
    Json variables = Json::array();
    for (const VariableRecord& variable : known.variables) {
        variables.push_back({{"name", toStd(variable.name)},
                             {"id", variable.id},
                             {"type", nameOfType(variable.type)},
                             {"writable", variable.isWritable}});
    }
    Json breakpoints = Json::array();
    for (const BreakpointRecord& breakpoint : known.breakpoints) {
        breakpoints.push_back({{"name", toStd(breakpoint.name)},
                               {"path", model.pathOf({ELEMENT_BREAKPOINT, breakpoint.id})},
                               {"id", breakpoint.id},
                               {"type", model.nameOfBreakpointType(breakpoint.typeID)}});
    }
    return {{"uniqueID", {known.uniqueID0, known.uniqueID1, known.uniqueID2, known.uniqueID3}},
            {"variables", variables},
            {"breakpoints", breakpoints}};
}

/// In characters, for columns.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::vector<std::string> alignColumns(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t at = 0; at < row.size(); ++at)
            widths[at] = std::max(widths[at], widthOf(row[at]));
    }
    std::vector<std::string> lines;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t at = 0; at < row.size(); ++at) {
            const bool isLast = at + 1 == row.size();
            line += row[at] + (isLast ? std::string() : std::string(widths[at] - widthOf(row[at]) + 2, ' '));
        }
        lines.push_back(line);
    }
    return lines;
}

std::string timesOf(uint32 gameTime, uint32 systemTime) {
    return "game time " + std::to_string(gameTime) + ", system time " + std::to_string(systemTime) + " ms";
}

/// The recorded values by their variables, each once.
std::map<uint32, const Bytes*> valuesOf(const HistoryEntry& entry) {
    std::map<uint32, const Bytes*> values;
    for (const RecordedValue& value : entry.values)
        values.emplace(value.variableID, &value.value);
    return values;
}

std::vector<std::string> rowOf(const ModuleModel& model, const HistoryEntry& entry, const std::set<uint32>& variables) {
    std::vector<std::string> row = {std::to_string(entry.gameTime), std::to_string(entry.systemTime),
                                    model.labelOf({ELEMENT_BREAKPOINT, entry.breakpointID})};
    const std::map<uint32, const Bytes*> values = valuesOf(entry);
    for (const uint32 id : variables) {
        const auto value = values.find(id);
        row.push_back(value == values.end() ? "-" : textOfValue(*value->second));
    }
    return row;
}

} // namespace

Json jsonOfElement(const ModuleModel& model, ElementID element) {
    Json json = {{"kind", nameOfKind(element.kind)}, {"path", model.pathOf(element)}, {"id", element.id}};
    if (const auto* const type = element.kind == ELEMENT_TYPE ? model.findType(element.id) : nullptr)
        json.update(jsonOfType(model, *type));
    return json;
}

void forEachElement(const ModuleModel& model, const ElementID* from,
                    const std::function<void(ElementID, std::size_t)>& use) {
    std::vector<Place> places;
    if (from)
        places.push_back({*from, 0});
    else
        push(places, ELEMENT_GROUP, model.getTop(), 0);
    while (!places.empty()) {
        const Place place = places.back();
        places.pop_back();
        use(place.element, place.depth);
        if (place.element.kind == ELEMENT_GROUP) {
            push(places, ELEMENT_GROUP, model.findGroup(place.element.id)->groups, place.depth + 1);
            push(places, ELEMENT_TYPE, model.findGroup(place.element.id)->types, place.depth + 1);
        } else if (place.element.kind == ELEMENT_TYPE) {
            push(places, ELEMENT_INSTANCE, model.findType(place.element.id)->instances, place.depth + 1);
        }
    }
}

std::vector<std::string> linesOfElement(const ModuleModel& model, ElementID element, std::size_t depth) {
    // No line is longer than what it says, however deep it is.
    const std::string indentation(2 * std::min<std::size_t>(depth, 40), ' ');
    std::vector<std::string> lines = {indentation + nameOfKind(element.kind) + ' ' + model.labelOf(element)};
    const ModuleModel::Type* const type = element.kind == ELEMENT_TYPE ? model.findType(element.id) : nullptr;
    if (!type)
        return lines;
    for (const VariableRecord& variable : type->registration.variables) {
        lines.push_back(indentation + "  variable " + model.labelOf({ELEMENT_VARIABLE, variable.id}) + ": " +
                        nameOfType(variable.type) + (variable.isWritable ? ", writable" : ""));
    }
    for (const BreakpointRecord& breakpoint : type->registration.breakpoints) {
        lines.push_back(indentation + "  breakpoint " + model.labelOf({ELEMENT_BREAKPOINT, breakpoint.id}) + ": " +
                        model.nameOfBreakpointType(breakpoint.typeID));
    }
    return lines;
}

Json jsonOfEntry(const ModuleModel& model, uint32 instanceID, const HistoryEntry& entry) {
    Json values = Json::object();
    for (const auto& [id, value] : valuesOf(entry)) {
        const ModuleModel::Variable* const variable = model.findVariable(id);
        values[variable ? toStd(variable->record.name) : '#' + std::to_string(id)] = jsonOfValue(*value);
    }
    return {{"instance", model.pathOf({ELEMENT_INSTANCE, instanceID})},
            {"breakpoint", model.pathOf({ELEMENT_BREAKPOINT, entry.breakpointID})},
            {"gameTime", entry.gameTime},
            {"systemTime", entry.systemTime},
            {"values", values}};
}

std::vector<std::string> linesOfHold(const ModuleModel& model, const BreakpointState& state) {
    std::vector<std::string> lines = {"held at " + model.pathOf({ELEMENT_BREAKPOINT, state.entry.breakpointID}) +
                                      " by " + model.pathOf({ELEMENT_INSTANCE, state.instanceID}) + ", " +
                                      timesOf(state.entry.gameTime, state.entry.systemTime)};
    for (const auto& [id, value] : valuesOf(state.entry))
        lines.push_back("  " + model.labelOf({ELEMENT_VARIABLE, id}) + " = " + textOfValue(*value));
    return lines;
}

std::vector<std::string> linesOfHistory(const ModuleModel& model, const GetHistoryReply& reply) {
    std::set<uint32> variables;
    for (const HistoryEntry& entry : reply.entries) {
        for (const RecordedValue& value : entry.values)
            variables.insert(value.variableID);
    }
    std::vector<std::vector<std::string>> rows = {{"game time", "system time", "breakpoint"}};
    for (const uint32 id : variables)
        rows.front().push_back(model.labelOf({ELEMENT_VARIABLE, id}));
    for (const HistoryEntry& entry : reply.entries)
        rows.push_back(rowOf(model, entry, variables));
    std::vector<std::string> lines = alignColumns(rows);
    lines.insert(lines.begin(), model.pathOf({ELEMENT_INSTANCE, reply.instanceID}) + ", now " +
                                    timesOf(reply.gameTime, reply.systemTime));
    return lines;
}

} // namespace Tarq::Tool
