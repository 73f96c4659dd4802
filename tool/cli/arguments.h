#pragma once

#include "tool/cli/debugsession.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Tarq::Tool {

/// What the command line says.
struct Arguments {
    std::string address;
    std::optional<std::string> computer; ///< without: the system's
    std::optional<std::string> user;     ///< likewise
    std::optional<double> timeoutSeconds;
    Common::uint32 protocolVersion = Identity::cProtocolVersion;
    bool isJson = false;
    bool isOnce = false;
    std::string module;
    bool isTakingOver = false;
    std::string path;
    std::string value;
    std::string signature;
    std::vector<std::string> values;
    std::optional<double> progressSeconds;
    ServeOptions serving;
    Script script;
};

/// Lets the parser fill the arguments, which outlive it; it knows all commands, options and their help then.
void addCommands(CLI::App& app, Arguments& arguments);

} // namespace Tarq::Tool
