#include "tool/cli/commandline.h"

#include "tool/cli/commands.h"
#include "tool/cli/exitcode.h"
#include "tool/client/hostname.h"
#include "tool/platform/system.h"

#include "common/exceptions/exception.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <optional>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr const char* cDescription = R"(Talks to the debugger server of a running host.

ADDRESS is where the host listens: HOST:PORT with an IPv4 address or "localhost", or PORT for this machine.
Hosts that listen on an IPv6 address only cannot be reached.)";

constexpr const char* cFooter = R"(Examples:
  tarq-debug identify 4711                       does a host on this machine answer?
  tarq-debug connect 192.168.0.7:4711            stay connected, also while the host is started anew
  tarq-debug connect 4711 --once --json          events as JSON, one object a line, until the host goes

Results go to the standard output, messages to the standard error. The program ends with
  0  when all went well, also when SIGINT, SIGTERM or SIGHUP ended "connect", with or without a connection
  1  when the host has refused the tool
  2  when the command line is wrong
  3  when nobody took the connection, and when a signal ended "identify" before the host has answered
  4  when the connection was lost, the host did not answer on it, or what came made no sense
  5  when memory is exhausted, or the output cannot be written
A second signal ends it at once, whatever it is doing.)";

/// What the command line says.
struct Arguments {
    std::string address;
    std::optional<std::string> computer; ///< without: the system's
    std::optional<std::string> user;     ///< likewise
    double timeoutSeconds = 5;
    uint32 protocolVersion = Identity::cProtocolVersion;
    bool isJson = false;
    bool isOnce = false;
};

void addConnectionOptions(CLI::App& command, Arguments& arguments) {
    command.add_option("ADDRESS", arguments.address, "Where the host listens")->required()->option_text(" ");
    command.add_flag("--json", arguments.isJson, "Print JSON, one object a line");
    command.add_option("--computer", arguments.computer, "The name to give for this computer; by default its own")
        ->type_name("NAME");
    command.add_option("--user", arguments.user, "The name to give for the user; by default the one logged in")
        ->type_name("NAME");
    command.add_option("--timeout", arguments.timeoutSeconds, "How long to wait for the host to answer; by default 5")
        ->type_name("SECONDS");
    command
        .add_option("--protocol-version", arguments.protocolVersion,
                    "The version to claim; hosts refuse all but the default, " +
                        std::to_string(Identity::cProtocolVersion))
        ->type_name("NUMBER");
}

SessionOptions makeOptions(const Arguments& arguments) {
    SessionOptions options;
    if (const char* const problem = parseHost(arguments.address, options.address))
        throw CLI::ValidationError("ADDRESS", problem);
    // What is no number is in no range.
    if (!(arguments.timeoutSeconds >= 0.001 && arguments.timeoutSeconds <= 3600))
        throw CLI::ValidationError("--timeout", "the time has to be from 0.001 to 3600 seconds");
    options.identity.computerName =
        arguments.computer ? String(std::string_view(*arguments.computer)) : System::getComputerName();
    options.identity.userName = arguments.user ? String(std::string_view(*arguments.user)) : System::getUserName();
    options.identity.protocolVersion = arguments.protocolVersion;
    options.timeoutMilliseconds = static_cast<uint32>(arguments.timeoutSeconds * 1000);
    options.reconnects = !arguments.isOnce;
    return options;
}

int parseAndRun(const std::vector<std::string>& words, const Face& face) {
    CLI::App app(cDescription, "tarq-debug");
    app.footer(cFooter);
    app.set_version_flag("--version", "tarq-debug " TARQ_TOOL_VERSION, "Print the version and exit");
    app.require_subcommand(1);
    Arguments arguments;
    CLI::App* const identifyCommand = app.add_subcommand("identify", "Ask a host once whether it accepts this tool");
    CLI::App* const connectCommand =
        app.add_subcommand("connect", "Stay connected and print events; come back when the host does");
    addConnectionOptions(*identifyCommand, arguments);
    addConnectionOptions(*connectCommand, arguments);
    connectCommand->add_flag("--once,--no-reconnect", arguments.isOnce, "End when the host goes or is not there");
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend())); // it takes them from the end
        const SessionOptions options = makeOptions(arguments);
        return connectCommand->parsed() ? stayConnected(face, options, arguments.isJson)
                                        : identify(face, options, arguments.isJson);
    } catch (const CLI::Success& help) {
        return app.exit(help, face.out, face.err);
    } catch (const CLI::ParseError& error) {
        // That there is no command says nothing about a word that was meant for one.
        const std::vector<std::string> unknown =
            app.get_subcommands().empty() ? app.remaining() : std::vector<std::string>();
        const std::string problem = unknown.empty() ? error.what() : "there is no command \"" + unknown.front() + '"';
        face.tell(problem + "; see tarq-debug --help");
        return EXIT_USAGE;
    }
}

} // namespace

int runCommandLine(const std::vector<std::string>& arguments, const Face& face) {
    int exitCode = EXIT_INTERNAL;
    try {
        exitCode = parseAndRun(arguments, face);
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        face.tell(exception->getMessage().view());
    } catch (const std::exception& exception) {
        face.tell(exception.what());
    }
    face.out.flush();
    if (face.out.good())
        return exitCode;
    face.tell("not everything could be written to the standard output");
    return EXIT_INTERNAL;
}

} // namespace Tarq::Tool
