#pragma once

#include "tool/cli/eventline.h"
#include "tool/client/modulemodel.h"

#include <functional>
#include <string>
#include <vector>

/// What a module is made of, and what has happened in it, for a person and as JSON.
namespace Tarq::Tool {

/// "type agents/walker", and what belongs to it.
Json jsonOfElement(const ModuleModel& model, ElementID element);
/// Calls `use` with each element from the one given on, or of the whole module, owners first, and how deep it is.
void forEachElement(const ModuleModel& model, const ElementID* from,
                    const std::function<void(ElementID, std::size_t)>& use);
/// The lines for a person, indented.
std::vector<std::string> linesOfElement(const ModuleModel& model, ElementID element, std::size_t depth);

/// The fields that a hold and an entry of a history have.
Json jsonOfEntry(const ModuleModel& model, Common::uint32 instanceID, const HistoryEntry& entry);
std::vector<std::string> linesOfHold(const ModuleModel& model, const BreakpointState& state);
/// A table, with a head, one line for each entry.
std::vector<std::string> linesOfHistory(const ModuleModel& model, const GetHistoryReply& reply);

} // namespace Tarq::Tool
