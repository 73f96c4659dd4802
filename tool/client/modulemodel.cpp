#include "tool/client/modulemodel.h"

#include "tool/client/modulemessages.h"
#include "tool/client/quoting.h"

namespace Tarq::Tool {

using namespace Common;

namespace {

std::string toStd(const String& text) {
    return std::string(text.view());
}

template <class Elements>
auto find(const Elements& elements, uint32 id) -> const typename Elements::mapped_type* {
    const auto found = elements.find(id);
    return found == elements.end() ? nullptr : &found->second;
}

/// "type 7 is not known"
std::string problemWith(const char* kind, uint32 id, const char* what) {
    return std::string(kind) + ' ' + std::to_string(id) + ' ' + what;
}

void eraseName(ModuleModel::Names& names, const std::string& name, uint32 id) {
    const auto found = names.find(name);
    found->second.erase(id);
    if (found->second.empty())
        names.erase(found);
}

/// Whether an element of the list has the id of one before it, or of one that is known.
template <class Record, class Elements>
bool repeatsID(const std::vector<Record>& records, const Elements& known) {
    ModuleModel::IDs found;
    for (const Record& record : records) {
        if (known.contains(record.id) || !found.insert(record.id).second)
            return true;
    }
    return false;
}

} // namespace

const char* nameOfKind(ElementKind kind) noexcept {
    constexpr const char* cNames[] = {"group", "type", "instance", "variable", "breakpoint"};
    return cNames[kind];
}

void ModuleModel::clear(uint32 moduleID, const std::vector<BreakpointTypeRecord>& breakpointTypes) {
    *this = ModuleModel();
    mModuleID = moduleID;
    for (const BreakpointTypeRecord& type : breakpointTypes) {
        mBreakpointTypes[toStd(type.name)].insert(type.typeID);
        mBreakpointTypeNames[type.typeID] = toStd(type.name);
    }
}

std::string ModuleModel::add(const ObjectGroupRegistration& registration) {
    const bool isTop = registration.parentID == cNoID;
    // So a group is never below itself.
    if (registration.groupID == cNoID || mGroups.contains(registration.groupID))
        return problemWith("group", registration.groupID, "is known already");
    if (!isTop && !mGroups.contains(registration.parentID))
        return problemWith("group", registration.parentID, "is not known");
    const std::string name = toStd(registration.name);
    mGroups.emplace(registration.groupID, Group{name, registration.parentID, {}, {}});
    Names& names = isTop ? mTop : mGroups.at(registration.parentID).groups;
    names[name].insert(registration.groupID);
    return {};
}

std::string ModuleModel::checkOwn(const ObjectTypeRegistration& registration) const {
    if (mTypes.contains(registration.typeID))
        return problemWith("type", registration.typeID, "is known already");
    if (!mGroups.contains(registration.groupID))
        return problemWith("group", registration.groupID, "is not known");
    if (repeatsID(registration.variables, mVariables))
        return problemWith("type", registration.typeID, "has a variable that is known already");
    if (repeatsID(registration.breakpoints, mBreakpoints))
        return problemWith("type", registration.typeID, "has a breakpoint that is known already");
    return {};
}

std::string ModuleModel::add(const ObjectTypeRegistration& registration) {
    std::string problem = checkOwn(registration);
    if (!problem.empty())
        return problem;
    const uint32 id = registration.typeID;
    const std::string name = toStd(registration.name);
    Type& type = mTypes.emplace(id, Type{registration, name, {}, {}, {}}).first->second;
    mGroups.at(registration.groupID).types[name].insert(id);
    for (const VariableRecord& variable : registration.variables) {
        mVariables.emplace(variable.id, Variable{id, variable});
        type.variables[toStd(variable.name)].insert(variable.id);
    }
    for (const BreakpointRecord& breakpoint : registration.breakpoints) {
        mBreakpoints.emplace(breakpoint.id, Breakpoint{id, breakpoint});
        type.breakpoints[toStd(breakpoint.name)].insert(breakpoint.id);
    }
    return {};
}

std::string ModuleModel::add(const ObjectInstanceRegistration& registration) {
    if (registration.instanceID == cNoID || mInstances.contains(registration.instanceID))
        return problemWith("instance", registration.instanceID, "is known already");
    const auto type = mTypes.find(registration.typeID);
    if (type == mTypes.end())
        return problemWith("type", registration.typeID, "is not known");
    const std::string name = toStd(registration.name);
    mInstances.emplace(registration.instanceID, Instance{name, registration.typeID});
    type->second.instances[name].insert(registration.instanceID);
    return {};
}

std::string ModuleModel::remove(const ObjectTypeUnregistration& unregistration) {
    const auto type = mTypes.find(unregistration.typeID);
    if (type == mTypes.end())
        return problemWith("type", unregistration.typeID, "is not known");
    forget(type->second);
    mTypes.erase(type);
    return {};
}

void ModuleModel::forget(const Type& type) {
    for (const auto& [name, ids] : type.instances) {
        for (const uint32 id : ids)
            mInstances.erase(id);
    }
    for (const VariableRecord& variable : type.registration.variables)
        mVariables.erase(variable.id);
    for (const BreakpointRecord& breakpoint : type.registration.breakpoints)
        mBreakpoints.erase(breakpoint.id);
    eraseName(mGroups.at(type.registration.groupID).types, type.name, type.registration.typeID);
}

std::string ModuleModel::remove(const ObjectInstanceUnregistration& unregistration) {
    const auto instance = mInstances.find(unregistration.instanceID);
    if (instance == mInstances.end())
        return problemWith("instance", unregistration.instanceID, "is not known");
    eraseName(mTypes.at(instance->second.typeID).instances, instance->second.name, unregistration.instanceID);
    mInstances.erase(instance);
    return {};
}

const ModuleModel::Group* ModuleModel::findGroup(uint32 id) const {
    return find(mGroups, id);
}

const ModuleModel::Type* ModuleModel::findType(uint32 id) const {
    return find(mTypes, id);
}

const ModuleModel::Instance* ModuleModel::findInstance(uint32 id) const {
    return find(mInstances, id);
}

const ModuleModel::Variable* ModuleModel::findVariable(uint32 id) const {
    return find(mVariables, id);
}

const ModuleModel::Breakpoint* ModuleModel::findBreakpoint(uint32 id) const {
    return find(mBreakpoints, id);
}

std::string ModuleModel::nameOfBreakpointType(uint32 id) const {
    const std::string* const name = find(mBreakpointTypeNames, id);
    return name ? quoteName(*name) : '#' + std::to_string(id);
}

} // namespace Tarq::Tool
