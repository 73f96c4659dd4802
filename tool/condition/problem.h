#pragma once

#include "common/string.h"

#include <cstddef>
#include <utility>

namespace Tarq::Tool {

/// What is wrong with a condition. Each step stops at the first one.
struct Problem {
    Common::String text;
    std::size_t offset = 0; ///< in bytes of the condition's text

    /// Returns false, for those who return it in turn.
    bool report(std::size_t where, Common::String what) {
        text = std::move(what);
        offset = where;
        return false;
    }
};

} // namespace Tarq::Tool
