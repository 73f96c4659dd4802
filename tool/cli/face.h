#pragma once

#include "tool/client/printable.h"
#include "tool/platform/system.h"

#include <ostream>
#include <string_view>

namespace Tarq::Tool {

/// What stands in front of a command.
inline constexpr char cPrompt[] = "tarq-debug> ";

/// What the program has around it: where results and messages go, and how it learns that it is to stop.
struct Face {
    std::ostream& out; ///< results
    std::ostream& err; ///< messages
    bool (*isStopWanted)();
    System::InputHandle input = System::getStandardInput(); ///< commands
    bool isWatched = false;                                 ///< by a person, who sees the messages on a terminal

    /// One result. Whoever reads them from a pipe sees it at once.
    void print(std::string_view line) const { out << line << std::endl; }
    void prompt() const { out << cPrompt << std::flush; }
    void tell(std::string_view message) const { err << "tarq-debug: " << printable(message) << std::endl; }
    /// The same, of parts that are printable already.
    void tellShown(std::string_view message) const { err << "tarq-debug: " << shown(message) << std::endl; }
};

} // namespace Tarq::Tool
