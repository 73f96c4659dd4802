#pragma once

#include "tool/cli/callactions.h"

#include <string>
#include <vector>

namespace Tarq::Tool {

/// Does one command and leaves. Returns the exit code, like the others.
int runOnce(const Face& face, DebugOptions options, const std::string& line);

/// Calls one function, without a module, and leaves.
int runCall(const Face& face, DebugOptions options, const TypedCall& call);

struct ServeOptions {
    std::vector<std::string> files; ///< "[ID:][NAME=]PATH"
    Common::uint32 firstID = 1;     ///< of those that have none
    bool keepsServing = false;      ///< also when all was read
};

/// Serves files until the host has read all of them, or the program is told to stop, or the connection ends, and tells
/// what was read. Throws `CommandFailure` when a file cannot be opened.
int runServe(const Face& face, DebugOptions options, const ServeOptions& serving);

/// Prints the events of a module until it is told to stop, or the module is lost, or the connection ends.
int followEvents(const Face& face, const DebugOptions& options);

struct Script {
    std::vector<std::string> lines; ///< none: they come from the face's input
    bool keepsGoing = false;        ///< also after a command that failed
    bool isShown = false;           ///< each command, behind the prompt, in front of what it prints
};

/// Does the commands in one stay with a module. A failure ends it, unless a person types.
int runSession(const Face& face, const DebugOptions& options, const Script& script);

} // namespace Tarq::Tool
