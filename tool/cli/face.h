#pragma once

#include "tool/cli/printable.h"

#include <ostream>
#include <string_view>

namespace Tarq::Tool {

/// What the program has around it: where results and messages go, and how it learns that it is to stop.
struct Face {
    std::ostream& out; ///< results
    std::ostream& err; ///< messages
    bool (*isStopWanted)();

    /// One result. Whoever reads them from a pipe sees it at once.
    void print(std::string_view line) const { out << line << std::endl; }
    void tell(std::string_view message) const { err << "tarq-debug: " << printable(message) << std::endl; }
};

} // namespace Tarq::Tool
