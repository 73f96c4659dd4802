#include "bench/cases.h"
#include "common/debug/logmanager.h"
#include "common/debug/report.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>

namespace Tarq::Bench {

namespace {

using namespace Common::Debug;

constexpr uint64 cReports = 256;

/// Hears everything and does nothing but count.
class NullListener : public LogListener {
public:
    void onLog(const LogRecord& record) override { mHeard += record.mMessage.empty() ? 0u : 1u; }
    uint64 mHeard = 0;
};

class NullSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    uint64 mHeard = 0;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override { mHeard += message.payload.size() == 0 ? 0u : 1u; }
    void flush_() override {}
};

/// A reporter of its own, with one listener, for as long as the scope lasts.
class Reporting {
public:
    Reporting() : mReporter(LogManager::getInstance()->createLogReporter("Bench")) {
        LogManager::getInstance()->addListener(LOG_DBGMSG | LOG_MESSAGE, &mListener);
        mReporter->enableLogType(LOG_DBGMSG, false);
    }
    ~Reporting() {
        LogManager::getInstance()->removeListener(LOG_DBGMSG | LOG_MESSAGE, &mListener);
        LogManager::getInstance()->removeLogReporter(mReporter);
    }
    Reporting(const Reporting&) = delete;
    Reporting& operator=(const Reporting&) = delete;

    NullListener mListener;
    LogReporter* mReporter;
};

void reportOurs(benchmark::State& state, LogType type, uint64 heardOfEach) {
    Reporting reporting;
    LogReporter* reporter = reporting.mReporter;
    uint64 number = 0;
    for (auto _ : state) {
        for (uint64 left = cReports; left != 0; --left) {
            benchmark::DoNotOptimize(reporter);
            report(reporter, {type, "Tarq::Bench::reportOurs"}, "connection ", ++number, " has been closed");
        }
    }
    countOperations(state, cReports);
    check(number == static_cast<uint64>(state.iterations()) * cReports, "a report was left out");
    check(reporting.mListener.mHeard == number * heardOfEach, "the listener heard something else");
}

void reportPeers(benchmark::State& state, spdlog::level::level_enum level, uint64 heardOfEach) {
    const auto sink = std::make_shared<NullSink>();
    spdlog::logger made("bench", sink);
    spdlog::logger* logger = &made;
    logger->set_level(spdlog::level::info);
    uint64 number = 0;
    for (auto _ : state) {
        for (uint64 left = cReports; left != 0; --left) {
            benchmark::DoNotOptimize(logger);
            logger->log(spdlog::source_loc{__FILE__, __LINE__, "reportPeers"}, level, "connection {} has been closed",
                        ++number);
        }
    }
    countOperations(state, cReports);
    check(number == static_cast<uint64>(state.iterations()) * cReports, "a report was left out");
    check(sink->mHeard == number * heardOfEach, "the sink heard something else");
}

} // namespace

std::vector<Case> logCases() {
    return {
        {"log/disabled",
         [](benchmark::State& state) { reportOurs(state, LOG_DBGMSG, 0); },
         {{"spdlog", 0.3, [](benchmark::State& state) { reportPeers(state, spdlog::level::debug, 0); }}}},
        {"log/enabled",
         [](benchmark::State& state) { reportOurs(state, LOG_MESSAGE, 1); },
         {{"spdlog", 1.5, [](benchmark::State& state) { reportPeers(state, spdlog::level::info, 1); }}}},
    };
}

} // namespace Tarq::Bench
