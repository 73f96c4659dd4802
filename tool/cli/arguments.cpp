#include "tool/cli/arguments.h"

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
  tarq-debug tree 4711 --module world            what the module "world", version 1, has registered
  tarq-debug get 4711 agents/walker/ann.speed --module world:2
  tarq-debug debug 4711 --module world -e 'break breakpoint agents/walker@step on' -e 'wait hold 10'
  tarq-debug call 4711 'add(Integer32, Integer32)' 3 4
  tarq-debug serve 4711 level.bin                until the host has read it
  tarq-debug debug 4711 --module world           reads commands, one a line; "help" lists them

A host lets go what it holds, and forgets breakpoints and conditions, when the tool leaves: what goes beyond one
question is done in one "debug". A command that fails ends it, unless a person types. What is watched stays so, until
"watch PATH off".

PATH names an element: agents is a group, agents/walker a type in it, agents/walker/ann an instance of that,
agents/walker/ann.speed a variable, agents/walker@step a breakpoint. A name with other characters than letters, digits,
"_", "-" and "+" stands in double quotes. Where several have the name, the number follows: agents/walker/ann#3.

VALUE is true, 12, -1.5e3, inf, "text", (1, 2, 3) for a vector, [1, 2, 3] for an array. In front of PATH and -inf, write
-- so that it is not taken for an option.

Results go to the standard output, messages to the standard error. The program ends with
  0  when all went well, also when SIGINT, SIGTERM or SIGHUP ended "connect", with or without a connection, "events",
     "serve", or a "debug" that waited for commands
  1  when the host has refused the tool, or what it asked for
  2  when the command line is wrong, or a command, path or value
  3  when nobody took the connection, and when a signal ended "identify" before the host has answered
  4  when the connection or the module was lost, the host did not answer on it or a signal came first, or what came
     made no sense
  5  when memory is exhausted, the output cannot be written, or a file had to be withdrawn: it has changed, cannot be
     read, or the host wants bytes that it does not have
  6  when what "wait" has waited for has not come in time, or "call" for
A second signal ends it at once, whatever it is doing.)";

void addConnectionOptions(CLI::App& command, Arguments& arguments) {
    command.add_option("ADDRESS", arguments.address, "Where the host listens")->required()->option_text(" ");
    command.add_flag("--json", arguments.isJson, "Print JSON, one object a line");
    command.add_option("--computer", arguments.computer, "The name to give for this computer; by default its own")
        ->type_name("NAME");
    command.add_option("--user", arguments.user, "The name to give for the user; by default the one logged in")
        ->type_name("NAME");
    command
        .add_option(
            "--timeout", arguments.timeoutSeconds,
            "How long to wait for the host to answer; by default 5; when it has let the tool in, 30, and 10 for a call")
        ->type_name("SECONDS");
    command
        .add_option("--protocol-version", arguments.protocolVersion,
                    "The version to claim; hosts refuse all but the default, " +
                        std::to_string(Identity::cProtocolVersion))
        ->type_name("NUMBER");
}

void addModuleOptions(CLI::App& command, Arguments& arguments) {
    addConnectionOptions(command, arguments);
    command.add_option("--module", arguments.module, "The module, by its name and version; by default version 1")
        ->type_name("NAME[:VERSION]")
        ->required();
    command.add_flag("--takeover", arguments.isTakingOver, "Take the module from the tool that has it");
}

/// Commands that ask one thing; what they are called in a session, too.
void addQuestions(CLI::App& app, Arguments& arguments) {
    const auto add = [&](const char* name, const char* help) {
        CLI::App* const command = app.add_subcommand(name, help);
        addModuleOptions(*command, arguments);
        return command;
    };
    const auto addPath = [&](CLI::App* command, const char* help) {
        return command->add_option("PATH", arguments.path, help)->option_text(" ");
    };
    addPath(add("tree", "Show what the module has"), "Only that group, type or instance");
    addPath(add("get", "Show the value of a variable"), "The variable, or an instance, for all of its")->required();
    CLI::App* const set = add("set", "Give a variable a value");
    addPath(set, "The variable")->required();
    set->add_option("VALUE", arguments.value, "The value")->required()->option_text(" ");
    CLI::App* const watch = add("watch", "Keep a variable in the history of its instance, until it is off again");
    addPath(watch, "The variable")->required();
    watch->add_option("on|off", arguments.value, "Whether it is watched")->required()->option_text(" ");
    addPath(add("history", "Show what an instance has passed"), "The instance")->required();
}

void addDebugCommands(CLI::App& app, Arguments& arguments) {
    CLI::App* const events = app.add_subcommand("events", "Print the holds, registrations and removals of a module");
    addModuleOptions(*events, arguments);
    CLI::App* const debug = app.add_subcommand("debug", "Do commands, one after the other, in one stay with a module");
    addModuleOptions(*debug, arguments);
    debug->add_option("-e", arguments.script.lines, "A command; by default they come from the standard input")
        ->type_name("COMMAND")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false);
    debug->add_flag("--echo", arguments.script.isShown, "Print each command in front of what comes of it");
    debug->add_flag("--keep-going", arguments.script.keepsGoing, "Go on after a command that failed");
}

void addCall(CLI::App& app, Arguments& arguments) {
    CLI::App* const call = app.add_subcommand("call", "Have the host call a function, and show what it returns");
    addConnectionOptions(*call, arguments);
    call->add_option("SIGNATURE", arguments.signature,
                     "The function as it is declared: \"add(Integer32, Integer32)\"; behind it, \"-> TYPE\" if what is "
                     "returned is to be checked")
        ->required()
        ->option_text(" ");
    call->add_option("VALUE", arguments.values, "A value for each argument; texts need no quotes of their own")
        ->option_text("...");
}

void addServe(CLI::App& app, Arguments& arguments) {
    CLI::App* const serve = app.add_subcommand("serve", "Let the host read files of this machine as streams");
    addConnectionOptions(*serve, arguments);
    serve
        ->add_option(
            "FILE", arguments.serving.files,
            "A file, and what the host knows it by: [ID:][NAME=]PATH; by default ids count up, and the name is "
            "the file's own")
        ->required()
        ->option_text("...");
    serve->add_option("--first-id", arguments.serving.firstID, "The id of the first file; by default 1")
        ->type_name("NUMBER");
    serve->add_flag("--keep-serving", arguments.serving.keepsServing,
                    "Go on when the host has read all of it, as with empty files alone");
    serve
        ->add_option("--progress", arguments.progressSeconds,
                     "How often to tell how far the host is; by default 5, for JSON 1, on a terminal all the time")
        ->type_name("SECONDS");
}

} // namespace

void addCommands(CLI::App& app, Arguments& arguments) {
    app.name("tarq-debug");
    app.description(cDescription);
    app.footer(cFooter);
    app.set_version_flag("--version", "tarq-debug " TARQ_TOOL_VERSION, "Print the version and exit");
    app.require_subcommand(1);
    CLI::App* const identifyCommand = app.add_subcommand("identify", "Ask a host once whether it accepts this tool");
    CLI::App* const connectCommand =
        app.add_subcommand("connect", "Stay connected and print events; come back when the host does");
    addConnectionOptions(*identifyCommand, arguments);
    addConnectionOptions(*connectCommand, arguments);
    connectCommand->add_flag("--once,--no-reconnect", arguments.isOnce, "End when the host goes or is not there");
    addQuestions(app, arguments);
    addDebugCommands(app, arguments);
    addCall(app, arguments);
    addServe(app, arguments);
}

} // namespace Tarq::Tool
