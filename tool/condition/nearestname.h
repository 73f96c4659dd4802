#pragma once

#include "tool/condition/conditioncompiler.h"

#include <string_view>

namespace Tarq::Tool {

/// The variable whose name is the most like this one: a guess at what was meant. Null when there is none at all.
const ConditionVariable* findNearestName(std::string_view name,
                                         const Common::Container::Vector<ConditionVariable>& variables);

} // namespace Tarq::Tool
