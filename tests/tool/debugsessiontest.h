#pragma once

#include "tool/cli/commandline.h"

#include "tests/tool/modulehost.h"

#include <cstdlib>
#include <functional>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace Tarq::Test {

struct DebugSessionTest : LibraryTest {
    DebugSessionTest() : port(std::to_string(host.getAddress().getPort())), name("127.0.0.1:" + port) {}

    /// Runs the program while the host does `script`, and reads `input` in the place of the standard input; a person
    /// types it when `isTyped` says so.
    int run(const std::function<void()>& script, Texts arguments, const std::string& input = std::string()) {
        arguments.insert(arguments.begin() + 1, port);
        if (hasModule)
            arguments.insert(arguments.end(), {"--module", "world"});
        arguments.insert(arguments.end(), {"--computer", "box", "--user", "john"});
        int ends[2];
        if (isTyped)
            openTerminal(ends);
        else
            REQUIRE(pipe(ends) == 0);
        REQUIRE(write(ends[1], input.data(), input.size()) == static_cast<ssize_t>(input.size()));
        // The end of a terminal would be that of what was typed.
        if (!isTyped)
            close(ends[1]);
        std::ostringstream out;
        std::ostringstream err;
        std::thread hostThread(script);
        const int exitCode = Tool::runCommandLine(arguments, {out, err, [] { return false; }, ends[0]});
        hostThread.join();
        close(ends[0]);
        if (isTyped)
            close(ends[1]);
        written = out.str();
        told = err.str();
        return exitCode;
    }
    /// A session with the module, whose host goes on with `script` from there.
    int debug(const std::function<void()>& script, const std::string& input, const Texts& options = {}) {
        Texts arguments = {"debug"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const auto whole = [&] {
            host.meetTool();
            script();
            host.seeOff();
        };
        const int exitCode = run(whole, arguments, input);
        const std::string greeting = "connected to " + name + " as john on box, protocol version 2\n" +
                                     "attached to world:1 (groups: 1, types: 1, instances: 3)\n";
        if (written.starts_with(greeting))
            written.erase(0, greeting.size());
        return exitCode;
    }
    int ask(const std::function<void()>& script, const Texts& arguments) {
        return run(
            [&] {
                host.meetTool();
                script();
            },
            arguments);
    }
    /// What lines of JSON begin with.
    std::string head(const std::string& event) const {
        return R"({"event":")" + event + R"(","address":")" + name + R"(","module":"world:1")";
    }

    static void openTerminal(int (&ends)[2]) {
        ends[1] = posix_openpt(O_RDWR | O_NOCTTY);
        REQUIRE(grantpt(ends[1]) == 0);
        REQUIRE(unlockpt(ends[1]) == 0);
        ends[0] = open(ptsname(ends[1]), O_RDWR | O_NOCTTY);
        REQUIRE(ends[0] >= 0);
    }

    ModuleHost host;
    bool isTyped = false;
    bool hasModule = true;
    std::string port;
    std::string name;
    std::string written;
    std::string told;
    const std::function<void()> nothing = [] {};
    const Tool::GetVariable getSpeed{World::cModule, World::cAnn, World::cSpeed};
    const Tool::GetVariableReply speed{
        World::cModule, World::cAnn, World::cSpeed, 0, "", itemOf(STREAM_TYPE_FLOAT32, "0.1")};
};

} // namespace Tarq::Test
