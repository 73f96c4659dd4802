#include "bench/side.h"

#include "common/exceptions/exception.h"

#include <algorithm>
#include <stdexcept>

#include <sys/resource.h>

namespace Tarq::Bench {

namespace {

constexpr const char* cOperations = "operations";
constexpr const char* cElapsed = "elapsed";

constexpr unsigned cMostAttempts = 3;
/// Both threads have to be left alone, so a round on two threads is shorter, and has more attempts.
constexpr benchmark::IterationCount cShortening = 4;
constexpr unsigned cMostAttemptsOnTwoThreads = 20;

/// How often the threads of this process had to make room for another program.
long countPreemptions() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nivcsw;
}

void doWork(const Work& work, benchmark::State& state) {
    try {
        work(state);
    } catch (Common::Exceptions::Exception* exception) {
        const Common::Exceptions::Holder holder(exception);
        state.SkipWithError(holder->composeText(Common::Exceptions::Exception::CALLSTACK_NONE).c_str());
    } catch (const std::exception& exception) {
        state.SkipWithError(exception.what());
    }
}

} // namespace

/// Keeps what Google Benchmark measures, and prints nothing.
class Side::Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred)
                mFailure = run.error_message;
            if (run.run_type != Run::RT_Iteration)
                continue;
            const auto counted = run.counters.find(cOperations);
            const double operations =
                counted == run.counters.end() ? static_cast<double>(run.iterations) : counted->second.value;
            mMeasured.onTwoThreads = run.counters.find(cElapsed) != run.counters.end();
            const double seconds = mMeasured.onTwoThreads ? run.real_accumulated_time : run.cpu_accumulated_time;
            mMeasured.nanoseconds = seconds * 1e9 / operations;
            mMeasured.iterations = run.iterations;
        }
    }

    Measurement mMeasured;
    std::string mFailure;
};

auto Side::measureOnce() const -> Measurement {
    benchmark::ClearRegisteredBenchmarks();
    auto* const registered =
        benchmark::RegisterBenchmark(mName.c_str(), [this](benchmark::State& state) { doWork(mWork, state); });
    if (mIterations != 0)
        registered->Iterations(mIterations);
    Collector collector;
    const long before = countPreemptions();
    benchmark::RunSpecifiedBenchmarks(&collector, ".");
    collector.mMeasured.preemptions = countPreemptions() - before;
    check(collector.mFailure.empty(), collector.mFailure.c_str());
    check(collector.mMeasured.iterations != 0, "nothing was measured");
    return collector.mMeasured;
}

void Side::prepare(bool smoke) {
    if (smoke) {
        mIterations = 1;
        return;
    }
    const Measurement measured = measureOnce();
    mMostAttempts = measured.onTwoThreads ? cMostAttemptsOnTwoThreads : cMostAttempts;
    mIterations =
        std::max<benchmark::IterationCount>(1, measured.iterations / (measured.onTwoThreads ? cShortening : 1));
}

void Side::measureRound() {
    Measurement best = measureOnce();
    for (unsigned attempt = 1; attempt < mMostAttempts && best.preemptions != 0; ++attempt) {
        const Measurement again = measureOnce();
        if (again.preemptions < best.preemptions)
            best = again;
    }
    mNanoseconds.push_back(best.nanoseconds);
    mDisturbedRounds += best.preemptions != 0 ? 1u : 0u;
}

double Side::medianNanoseconds() const {
    std::vector<double> values = mNanoseconds;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void check(bool holds, const char* what) {
    if (!holds)
        throw std::runtime_error(what);
}

void countOperations(benchmark::State& state, uint64 count) {
    state.counters[cOperations] = static_cast<double>(count) * static_cast<double>(state.iterations());
}

void countOperationsOfBothThreads(benchmark::State& state, uint64 operations) {
    state.counters[cOperations] = static_cast<double>(operations);
    state.counters[cElapsed] = 1;
}

} // namespace Tarq::Bench
