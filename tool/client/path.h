#pragma once

#include "tool/client/modulemodel.h"

#include <string>
#include <string_view>
#include <variant>

/// How a person names the elements of a module.
///
///     agents                       a group
///     agents/birds                 a group in it, or a type
///     agents/walker/ann            an instance of the type agents/walker
///     agents/walker/ann.speed      a variable of it
///     agents/walker@step           a breakpoint of the type
///
/// A name with other characters than letters, digits, "_", "-" and "+" stands in quotes. Where several elements have
/// the name, the element's number follows: agents/walker/ann#3; it may also stand alone: agents/walker/#3.
namespace Tarq::Tool {

/// What a path leads to.
struct Found {
    ElementKind kind;
    Common::uint32 id;                 ///< of a variable, that of its type's variable
    Common::uint32 instanceID = cNoID; ///< of a variable
};

/// The element, or, in a text for a person, why there is none; it lists what there is.
using PathResult = std::variant<Found, std::string>;

/// `kinds` in the order in which they are looked for, where a path may mean several.
PathResult findPath(const ModuleModel& model, std::string_view path, std::initializer_list<ElementKind> kinds);

/// Finds a breakpoint type by its name, as it stands in a path. Its id, or why there is none.
std::variant<Common::uint32, std::string> findBreakpointType(const ModuleModel& model, std::string_view name);

} // namespace Tarq::Tool
