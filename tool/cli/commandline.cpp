#include "tool/cli/commandline.h"

#include "tool/cli/arguments.h"
#include "tool/cli/commands.h"
#include "tool/cli/debugcommands.h"
#include "tool/cli/debugsession.h"
#include "tool/cli/exitcode.h"
#include "tool/client/hostname.h"
#include "tool/platform/system.h"

#include "common/exceptions/exception.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace Tarq::Tool {

using namespace Common;

namespace {

SessionOptions makeOptions(const Arguments& arguments) {
    SessionOptions options;
    if (const char* const problem = parseHost(arguments.address, options.address))
        throw CLI::ValidationError("ADDRESS", problem);
    // What is no number is in no range.
    const std::optional<double>& seconds = arguments.timeoutSeconds;
    if (seconds && !(*seconds >= 0.001 && *seconds <= 3600))
        throw CLI::ValidationError("--timeout", "the time has to be from 0.001 to 3600 seconds");
    options.identity.computerName =
        arguments.computer ? String(std::string_view(*arguments.computer)) : System::getComputerName();
    options.identity.userName = arguments.user ? String(std::string_view(*arguments.user)) : System::getUserName();
    options.identity.protocolVersion = arguments.protocolVersion;
    if (seconds)
        options.timeoutMilliseconds = options.answerMilliseconds = static_cast<uint32>(*seconds * 1000);
    options.reconnects = !arguments.isOnce;
    return options;
}

/// Without a module.
DebugOptions makePlainOptions(const Arguments& arguments) {
    DebugOptions options;
    options.session = makeOptions(arguments);
    options.isJson = arguments.isJson;
    options.progressSeconds = arguments.progressSeconds;
    options.callSeconds = arguments.timeoutSeconds.value_or(options.callSeconds);
    return options;
}

DebugOptions makeDebugOptions(const Arguments& arguments) {
    DebugOptions options = makePlainOptions(arguments);
    options.isTakingOver = arguments.isTakingOver;
    if (!parseModule(arguments.module, options))
        throw CLI::ValidationError("--module", "the module has to be NAME or NAME:VERSION");
    return options;
}

/// Where a command has several values, the parser takes apart what is in brackets, unless something stands behind: a
/// list would not be one value any more.
constexpr char cBehindList = '\n';

std::vector<std::string> keepLists(std::vector<std::string> words) {
    for (std::string& word : words)
        word += word.starts_with('[') ? std::string(1, cBehindList) : "";
    return words;
}

std::vector<std::string> restoreLists(std::vector<std::string> values) {
    for (std::string& value : values)
        value.resize(value.size() - (value.starts_with('[') ? 1 : 0));
    return values;
}

int runParsed(const std::string& command, const Arguments& arguments, const Face& face) {
    if (command == "identify")
        return identify(face, makeOptions(arguments), arguments.isJson);
    if (command == "connect")
        return stayConnected(face, makeOptions(arguments), arguments.isJson);
    if (command == "call")
        return runCall(face, makePlainOptions(arguments),
                       readCall(arguments.signature, restoreLists(arguments.values)));
    if (command == "serve") {
        ServeOptions serving = arguments.serving;
        serving.files = restoreLists(serving.files);
        return runServe(face, makePlainOptions(arguments), serving);
    }
    const DebugOptions options = makeDebugOptions(arguments);
    if (command == "events")
        return followEvents(face, options);
    if (command == "debug")
        return runSession(face, options, arguments.script);
    return runOnce(face, options, command + ' ' + arguments.path + ' ' + arguments.value);
}

int parseAndRun(const std::vector<std::string>& words, const Face& face) {
    CLI::App app;
    Arguments arguments;
    addCommands(app, arguments);
    try {
        std::vector<std::string> reversed(words.rbegin(), words.rend()); // it takes them from the end
        app.parse(words.empty() || (words.front() != "call" && words.front() != "serve") ? reversed
                                                                                         : keepLists(reversed));
        return runParsed(app.get_subcommands().front()->get_name(), arguments, face);
    } catch (const CommandFailure& failure) {
        face.tellShown(failure.what());
        return failure.getExitCode();
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
