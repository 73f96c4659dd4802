#include "bench/cases.h"
#include "common/exceptions/invalidstateexception.h"

#include <execinfo.h>

namespace Tarq::Bench {

namespace {

/// How many functions stand between the catching one and the throwing one.
constexpr uint32 cDepth = 8;
constexpr int cLongestBacktrace = 64;

[[gnu::noinline]] void throwOurs(uint32 depth) {
    if (depth == 0)
        throw new Common::Exceptions::InvalidStateException("The stream is closed");
    throwOurs(depth - 1);
    benchmark::ClobberMemory(); // Keeps the call above from becoming a jump.
}

[[gnu::noinline]] void throwNumber(uint32 depth) {
    if (depth == 0) {
        void* addresses[cLongestBacktrace];
        throw backtrace(addresses, cLongestBacktrace);
    }
    throwNumber(depth - 1);
    benchmark::ClobberMemory();
}

void throwAndCatchOurs(benchmark::State& state) {
    uint64 caught = 0;
    for (auto _ : state) {
        try {
            throwOurs(cDepth);
        } catch (Common::Exceptions::Exception* exception) {
            const Common::Exceptions::Holder holder(exception);
            caught += holder->getMessage().empty() ? 0u : 1u;
        }
    }
    check(caught == static_cast<uint64>(state.iterations()), "an exception was not caught");
    try {
        throwOurs(cDepth);
    } catch (Common::Exceptions::Exception* exception) {
        const Common::Exceptions::Holder holder(exception);
        check(holder->getCallStack().size() > cDepth, "the call stack was not recorded");
    }
}

void throwAndCatchNumbers(benchmark::State& state) {
    uint64 caught = 0;
    for (auto _ : state) {
        try {
            throwNumber(cDepth);
        } catch (int depth) {
            caught += depth > static_cast<int>(cDepth) ? 1u : 0u;
        }
    }
    check(caught == static_cast<uint64>(state.iterations()), "a number was not caught, or the stack was not recorded");
}

} // namespace

std::vector<Case> exceptionCases() {
    return {{"exception/throw", throwAndCatchOurs, {{"backtrace and int", 1.2, throwAndCatchNumbers}}}};
}

} // namespace Tarq::Bench
