// tarq-demo [--port N] [--agents N] [--seed N] [--steps N]: a host that debugging tools can look into.
//
// A small world of agents goes on at 50 steps a second, with a debugger server beside it that listens on the loopback
// address: on a free port, or on the one that is given. Where, is the first line of standard output:
//
//     debugger at 127.0.0.1:40123
//
// What the server has to say goes to standard error. Ends after so many steps, or when it is interrupted: with 0, with
// 1 when the server could not be started or memory was left, with 2 when it does not understand its arguments.

#include "demo/debuggedworld.h"
#include "support/consolelistener.h"
#include "support/countingmemory.h"
#include "support/interrupt.h"

#include "common/debugger/server.h"
#include "common/exceptions/exception.h"
#include "common/interface.h"
#include "common/library.h"
#include "common/network/sockets/hostaddress.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <thread>

using namespace Tarq::Common;
using Debugger::Server;
using Network::Sockets::HostAddress;
using Network::Sockets::IPV4;

namespace {

/// How long the debugger may take to see what has changed.
constexpr Platform::MilliSeconds cDebuggerWait{20};
constexpr uint32 cStepMilliseconds = 20;

struct Options {
    uint32 port = 0;
    uint32 agents = 8;
    uint32 seed = 1;
    uint32 steps = 0; ///< 0 for no end
};

/// None when they are not understood.
std::optional<Options> parseOptions(int argc, char** argv) {
    Options options;
    const struct {
        std::string_view name;
        uint32* value;
        uint32 highest;
    } known[] = {
        {"--port", &options.port, std::numeric_limits<uint16>::max()},
        {"--agents", &options.agents, 100000},
        {"--seed", &options.seed, std::numeric_limits<uint32>::max()},
        {"--steps", &options.steps, std::numeric_limits<uint32>::max()},
    };
    for (int at = 1; at < argc; at += 2) {
        bool isUnderstood = false;
        for (const auto& option : known) {
            if (option.name != argv[at] || at + 1 == argc)
                continue;
            const char* const end = argv[at + 1] + std::strlen(argv[at + 1]);
            const auto [parsed, error] = std::from_chars(argv[at + 1], end, *option.value);
            isUnderstood = parsed == end && error == std::errc() && *option.value <= option.highest;
        }
        if (!isUnderstood)
            return std::nullopt;
    }
    return options;
}

/// Shows the library's assertions; the default callback would end the process.
class ConsoleAssertions : public Callback::AssertCallback {
public:
    void showAssert(const char* message, const char* file, unsigned int line) override {
        std::fprintf(stderr, "Assertion at %s:%u: %s\n", file, line, message);
    }
};

/// Moves the world until it is to end. A debugger may hold the thread that does this.
uint32 moveWorld(const Options& options, AgentWorld& world, DebuggedWorld& debugged,
                 const std::atomic<bool>& isEnding) {
    using Clock = std::chrono::steady_clock;
    Clock::time_point next = Clock::now();
    uint32 steps = 0;
    while (!isEnding && (options.steps == 0 || steps < options.steps)) {
        Server::getInstance()->setGameTime({++steps * cStepMilliseconds});
        world.step(cStepMilliseconds / 1000.0f, debugged);
        // What a debugger has held up is not made up for.
        next = std::max(next + std::chrono::milliseconds(cStepMilliseconds), Clock::now());
        std::this_thread::sleep_until(next);
    }
    return steps;
}

/// Moves the world on a thread of its own, until that has made its steps or the program is interrupted. Then ends in
/// this order: nobody is held any more, the thread ends that comes by breakpoints, and then what it has come by.
void runWorld(const Options& options, AgentWorld& world, DebuggedWorld& debugged) {
    std::atomic<bool> isEnding{false};
    std::atomic<bool> hasEnded{false};
    uint32 steps = 0;
    std::thread mover([&] {
        steps = moveWorld(options, world, debugged, isEnding);
        hasEnded = true;
    });
    while (interrupt::isWanted == 0 && !hasEnded)
        std::this_thread::sleep_for(std::chrono::milliseconds(cStepMilliseconds));
    isEnding = true;
    Server::getInstance()->stopHolding();
    mover.join();
    uint32 visits = 0;
    for (const AgentWorld::Agent& agent : world.getAgents())
        visits += agent.visits;
    std::fprintf(stderr, "%u agents have made %u steps and visited %u places\n", world.getAgents().size(), steps,
                 visits);
}

bool runHost(const Options& options) {
    Server::createInstance(Library::getDebugAlloc(), cDebuggerWait);
    AgentWorld world(options.agents, options.seed);
    DebuggedWorld debugged(*Server::getInstance(), world);
    const bool isRunning = Server::runAsync(HostAddress(IPV4::LOOPBACK, static_cast<unsigned short>(options.port)));
    if (isRunning) {
        const HostAddress listening = Server::getInstance()->getListeningAddress();
        std::printf("debugger at %s:%u\n", listening.toString().c_str(), unsigned{listening.getPort()});
        std::fflush(stdout);
        runWorld(options, world, debugged);
    }
    Server::destroyInstance(); // waits for what a tool may be calling
    return isRunning;
}

/// Everything between the library's coming up and its going down: nothing made on its memory outlives this.
bool run(const Options& options) {
    const ConsoleListener listener;
    try {
        return runHost(options);
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        std::fprintf(stderr, "tarq-demo: %s\n", exception->getMessage().c_str());
        return false;
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = parseOptions(argc, argv);
    if (!options) {
        std::fputs("Usage: tarq-demo [--port N] [--agents N] [--seed N] [--steps N]\n", stderr);
        return 2;
    }
    interrupt::catchSignals();
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new ConsoleAssertions));
    const Callback::CallbackPtr<CountingMemory> memory(new CountingMemory);
    Interface::initLibrary(memory);
    const bool hasRun = run(*options);
    Interface::closeLibrary();

    std::fprintf(stderr, "%" PRIu64 " bytes taken, %" PRIu64 " at the peak, %" PRIu64 " outstanding\n",
                 memory->getTaken(), memory->getPeak(), memory->getOutstanding());
    return hasRun && memory->getOutstanding() == 0 ? 0 : 1;
}
