#include "tool/client/modulemodel.h"
#include "tool/client/quoting.h"

namespace Tarq::Tool {

using namespace Common;

namespace {

std::string numberOf(uint32 id) {
    return '#' + std::to_string(id);
}

/// With the number where others have the name.
std::string labelIn(const ModuleModel::Names& names, const std::string& name, uint32 id) {
    const auto found = names.find(name);
    const bool isShared = found != names.end() && found->second.size() > 1;
    return quoteName(name) + (isShared ? numberOf(id) : std::string());
}

} // namespace

std::string ModuleModel::labelOf(ElementID element) const {
    const uint32 id = element.id;
    if (element.kind == ELEMENT_GROUP) {
        if (const Group* const group = findGroup(id))
            return labelIn(group->parentID == cNoID ? mTop : mGroups.at(group->parentID).groups, group->name, id);
    } else if (element.kind == ELEMENT_TYPE) {
        if (const Type* const type = findType(id))
            return labelIn(mGroups.at(type->registration.groupID).types, type->name, id);
    } else if (element.kind == ELEMENT_INSTANCE) {
        if (const Instance* const instance = findInstance(id))
            return labelIn(mTypes.at(instance->typeID).instances, instance->name, id);
    } else if (element.kind == ELEMENT_VARIABLE) {
        if (const Variable* const variable = findVariable(id))
            return labelIn(mTypes.at(variable->typeID).variables, std::string(variable->record.name.view()), id);
    } else if (const Breakpoint* const breakpoint = findBreakpoint(id)) {
        return labelIn(mTypes.at(breakpoint->typeID).breakpoints, std::string(breakpoint->record.name.view()), id);
    }
    return numberOf(id);
}

/// A group may be as deep as the host likes.
std::string ModuleModel::pathOfGroup(uint32 id) const {
    std::vector<uint32> chain;
    for (const Group* group = findGroup(id); group; group = findGroup(id)) {
        chain.push_back(id);
        id = group->parentID;
    }
    std::string path;
    for (auto at = chain.rbegin(); at != chain.rend(); ++at)
        path += (path.empty() ? "" : "/") + labelOf({ELEMENT_GROUP, *at});
    return path;
}

std::string ModuleModel::pathOf(ElementID element) const {
    const uint32 id = element.id;
    std::string label = labelOf(element);
    if (element.kind == ELEMENT_GROUP && findGroup(id))
        return pathOfGroup(id);
    if (element.kind == ELEMENT_TYPE && findType(id))
        return pathOfGroup(findType(id)->registration.groupID) + '/' + label;
    if (element.kind == ELEMENT_INSTANCE && findInstance(id))
        return pathOf({ELEMENT_TYPE, findInstance(id)->typeID}) + '/' + label;
    if (element.kind == ELEMENT_VARIABLE && findVariable(id))
        return pathOf({ELEMENT_TYPE, findVariable(id)->typeID}) + '.' + label;
    if (element.kind == ELEMENT_BREAKPOINT && findBreakpoint(id))
        return pathOf({ELEMENT_TYPE, findBreakpoint(id)->typeID}) + '@' + label;
    return label;
}

std::string ModuleModel::pathOf(uint32 instanceID, uint32 variableID) const {
    return pathOf({ELEMENT_INSTANCE, instanceID}) + '.' + labelOf({ELEMENT_VARIABLE, variableID});
}

} // namespace Tarq::Tool
