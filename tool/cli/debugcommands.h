#pragma once

#include "tool/cli/debugger.h"

#include <string>
#include <string_view>

namespace Tarq::Tool {

/// Does what the line says: a command and its arguments, with blanks between. In quotes, blanks belong to a name; a
/// value, or a condition, is the rest of the line. Nothing, or what begins with "#", is no command. Throws
/// `CommandFailure`.
void runCommand(Debugger& debugger, std::string_view line);

/// "NAME[:VERSION]"; without a version it is 1. False when the version is not a number.
bool parseModule(std::string_view text, DebugOptions& options);

} // namespace Tarq::Tool
