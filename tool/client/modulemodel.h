#pragma once

#include "tool/client/registrations.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Tarq::Tool {

struct BreakpointTypeRecord;

/// The kinds of elements that a module is made of.
enum ElementKind : Common::uint8 {
    ELEMENT_GROUP,
    ELEMENT_TYPE,
    ELEMENT_INSTANCE,
    ELEMENT_VARIABLE,
    ELEMENT_BREAKPOINT,
};
/// "group", "breakpoint"
const char* nameOfKind(ElementKind kind) noexcept;

/// An element by its number, which no other of its kind has in the module.
struct ElementID {
    ElementKind kind;
    Common::uint32 id;
};

/// What a host has registered of a module: groups, in these further groups and types, of these variables, breakpoints
/// and instances.
///
/// Threads: one. What is returned lasts until the model changes.
class ModuleModel {
public:
    using IDs = std::set<Common::uint32>;
    /// By names, which instances share, and groups, types, variables and breakpoints of one owner need not: a host may
    /// do what it likes.
    using Names = std::map<std::string, IDs, std::less<>>;

    struct Group {
        std::string name;
        Common::uint32 parentID;
        Names groups;
        Names types;
    };
    struct Type {
        ObjectTypeRegistration registration;
        std::string name;
        Names variables;
        Names breakpoints;
        Names instances;
    };
    struct Instance {
        std::string name;
        Common::uint32 typeID;
    };
    struct Variable {
        Common::uint32 typeID;
        VariableRecord record;
    };
    struct Breakpoint {
        Common::uint32 typeID;
        BreakpointRecord record;
    };

    /// Forgets everything.
    void clear(Common::uint32 moduleID, const std::vector<BreakpointTypeRecord>& breakpointTypes);
    Common::uint32 getModuleID() const noexcept { return mModuleID; }

    // What a host tells. Each returns what is wrong with it, and changes nothing then; empty otherwise.

    std::string add(const ObjectGroupRegistration& registration);
    std::string add(const ObjectTypeRegistration& registration);
    std::string add(const ObjectInstanceRegistration& registration);
    /// With all instances.
    std::string remove(const ObjectTypeUnregistration& unregistration);
    std::string remove(const ObjectInstanceUnregistration& unregistration);

    /// The groups at the top.
    const Names& getTop() const noexcept { return mTop; }
    std::size_t countGroups() const noexcept { return mGroups.size(); }
    std::size_t countTypes() const noexcept { return mTypes.size(); }
    std::size_t countInstances() const noexcept { return mInstances.size(); }

    // Null when there is none.

    const Group* findGroup(Common::uint32 id) const;
    const Type* findType(Common::uint32 id) const;
    const Instance* findInstance(Common::uint32 id) const;
    const Variable* findVariable(Common::uint32 id) const;
    const Breakpoint* findBreakpoint(Common::uint32 id) const;

    /// The breakpoint types by their names.
    const Names& getBreakpointTypes() const noexcept { return mBreakpointTypes; }
    /// Quoted as in paths.
    std::string nameOfBreakpointType(Common::uint32 id) const;

    /// How a person calls the element; its number, as "#7", when it is not known.
    std::string pathOf(ElementID element) const;
    /// Of a variable in an instance.
    std::string pathOf(Common::uint32 instanceID, Common::uint32 variableID) const;
    /// The last part of the path, without what stands between the parts.
    std::string labelOf(ElementID element) const;

private:
    std::string pathOfGroup(Common::uint32 id) const;
    std::string checkOwn(const ObjectTypeRegistration& registration) const;
    void forget(const Type& type);

    Common::uint32 mModuleID = cNoID;
    Names mTop;
    Names mBreakpointTypes;
    std::map<Common::uint32, std::string> mBreakpointTypeNames;
    std::map<Common::uint32, Group> mGroups;
    std::map<Common::uint32, Type> mTypes;
    std::map<Common::uint32, Instance> mInstances;
    std::map<Common::uint32, Variable> mVariables;
    std::map<Common::uint32, Breakpoint> mBreakpoints;
};

} // namespace Tarq::Tool
