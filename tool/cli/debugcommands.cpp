#include "tool/cli/debugcommands.h"

#include "tool/cli/callactions.h"
#include "tool/cli/commandactions.h"

#include <algorithm>
#include <charconv>

namespace Tarq::Tool {

using namespace Common;

namespace {

struct Command {
    const char* name;
    const char* usage;
    const char* help;
    void (*run)(Debugger& debugger, Words& words);
};

void switchEvents(Debugger& debugger, Words& words) {
    const bool isOn = takeSwitch(words);
    expectEnd(words);
    debugger.showRegistrations(isOn);
    debugger.answer("done", {{"command", "events"}, {"value", isOn}},
                    {isOn ? "registrations and removals are printed" : "registrations and removals are not printed"});
}

void takeOver(Debugger& debugger, Words& words) {
    expectEnd(words);
    if (debugger.getClient().isAttached())
        throw CommandFailure(EXIT_USAGE, "this tool has the module");
    debugger.attach(true);
}

void wait(Debugger& debugger, Words& words) {
    const std::string kind(words.take());
    const std::string_view text = words.take();
    expectEnd(words);
    debugger.waitFor(kind, text.empty() ? -1 : readSeconds(text, 1000000));
    debugger.answer("done", {{"command", "wait"}, {"kind", kind}}, {});
}

void showHelp(Debugger& debugger, Words& words);

void quit(Debugger& debugger, Words& words) {
    expectEnd(words);
    debugger.quit();
}

constexpr Command cCommands[] = {
    {"tree", "[PATH]", "what the module has, or a part of it", &showTree},
    {"get", "PATH", "the value of a variable, or of all of an instance", &getValue},
    {"set", "PATH VALUE", "gives a variable a value", &setValue},
    {"watch", "PATH on|off", "keeps a variable in the history of its instance, also when the tool has left", &setWatch},
    {"break", "instance PATH on|off", "holds whenever the instance enters a breakpoint", &setBreak},
    {"break", "breakpoint PATH on|off", "holds at the breakpoint, when its condition is true", &setBreak},
    {"break", "client", "holds at every breakpoint, until \"continue\"", &setBreak},
    {"condition", "PATH [TEXT]", "gives a breakpoint a condition; without a text, takes it away", &setCondition},
    {"call", "[--timeout SECONDS] SIGNATURE VALUE...", "has the host call a function: call add(int32, int32) 3 4",
     &callFunction},
    {"serve", "[ID:][NAME=]FILE", "lets the host read a file of this machine as a stream", &serveFile},
    {"unserve", "ID", "ends that", &withdrawFile},
    {"events", "on|off", "whether registrations and removals are printed", &switchEvents},
    {"step", "[--instance] [--type NAME]", "lets go until the next breakpoint; of the instance; of the type",
     &makeStep},
    {"continue", "", "lets go", &letGo},
    {"history", "PATH", "what an instance has passed", &showHistory},
    {"takeover", "", "takes the module from the tool that has it", &takeOver},
    {"wait", "hold|registration|removal|takeover|shutdown|answer|read [SECONDS]", "until that has come", &wait},
    {"help", "", "this list", &showHelp},
    {"quit", "", "leaves the host", &quit},
};

void showHelp(Debugger& debugger, Words& words) {
    expectEnd(words);
    std::vector<std::string> lines;
    Json commands = Json::array();
    for (const Command& command : cCommands) {
        const std::string usage = command.name + std::string(*command.usage ? " " : "") + command.usage;
        lines.push_back(usage + std::string(usage.size() < 34 ? 34 - usage.size() : 1, ' ') + command.help);
        commands.push_back({{"usage", usage}, {"help", command.help}});
    }
    debugger.answer("help", {{"commands", commands}}, lines);
}

} // namespace

void runCommand(Debugger& debugger, std::string_view line) {
    Words words(line);
    const std::string_view name = words.take();
    if (name.empty() || name.starts_with('#'))
        return;
    const auto* const command = std::find_if(std::begin(cCommands), std::end(cCommands),
                                             [&](const Command& known) { return name == known.name; });
    if (command == std::end(cCommands))
        throw CommandFailure(EXIT_USAGE, "there is no such command; see \"help\"");
    command->run(debugger, words);
}

bool parseModule(std::string_view text, DebugOptions& options) {
    const std::size_t colon = text.rfind(':');
    options.moduleName = std::string(text.substr(0, colon));
    options.moduleVersion = 1;
    if (colon == text.npos)
        return !text.empty();
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + colon + 1, end, options.moduleVersion);
    return colon != 0 && result.ec == std::errc() && result.ptr == end;
}

} // namespace Tarq::Tool
