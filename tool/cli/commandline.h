#pragma once

#include "tool/cli/face.h"

#include <string>
#include <vector>

namespace Tarq::Tool {

/// The program `tarq-debug`, without the frame that a process needs: the library is up, and the network initialised.
/// Returns the exit code. Nothing is thrown.
int runCommandLine(const std::vector<std::string>& arguments, const Face& face);

} // namespace Tarq::Tool
