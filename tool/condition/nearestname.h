#pragma once

#include "tool/condition/conditioncompiler.h"

#include <string_view>

namespace Tarq::Tool {

/// How many characters have to be put in, taken out or replaced to make one name of the other, twice. One that is but
/// in another case counts half.
Common::uint32 distanceOf(std::string_view a, std::string_view b) noexcept;

/// The variable whose name is the most like this one: a guess at what was meant. Null when there is none at all.
const ConditionVariable* findNearestName(std::string_view name,
                                         const Common::Container::Vector<ConditionVariable>& variables);

} // namespace Tarq::Tool
