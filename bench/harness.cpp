#include "bench/harness.h"

#include "bench/resulttable.h"
#include "bench/secondthread.h"
#include "bench/side.h"
#include "common/interface.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string_view>

#include <malloc.h>

namespace Tarq::Bench {

namespace {

/// How long one side works in one round, unless `--benchmark_min_time` says something else.
char gDefaultMinTime[] = "--benchmark_min_time=0.02";

constexpr const char* cHelp = R"(tarq-bench [options]: measures the library beside its peers
  --smoke                     only show that every case runs: one iteration each, times mean nothing
  --rounds=<n>                how often ours and the peers take turns, 15 by default
  --json=<file>               where the table is written as JSON, bench.json beside the program by default
  --list                      names the cases
  --benchmark_filter=<regex>  only the cases whose names match; a leading - turns that around
  --benchmark_min_time=<s>    how long one side works in one round, 0.02 by default
)";

struct Options {
    bool smoke = false;
    bool list = false;
    unsigned rounds = 15;
    std::string json;
};

/// Takes our own options out of the command line and leaves the rest to Google Benchmark. Empty: there is nothing left
/// to do but to end with `status`.
std::optional<Options> readOptions(int argc, char** argv, int& status) {
    Options options;
    std::vector<char*> rest{argv[0], gDefaultMinTime};
    const auto valueOf = [](std::string_view argument, std::string_view name) {
        return argument.starts_with(name) ? std::optional(argument.substr(name.size())) : std::nullopt;
    };
    for (int at = 1; at < argc; ++at) {
        const std::string_view argument = argv[at];
        if (argument == "--help") {
            std::fputs(cHelp, stdout);
            status = 0;
            return {};
        }
        if (argument == "--smoke")
            options.smoke = true;
        else if (argument == "--list")
            options.list = true;
        else if (const auto rounds = valueOf(argument, "--rounds="))
            std::from_chars(rounds->data(), rounds->data() + rounds->size(), options.rounds);
        else if (const auto json = valueOf(argument, "--json="))
            options.json = *json;
        else
            rest.push_back(argv[at]);
    }
    if (options.smoke || options.rounds == 0)
        options.rounds = 1;
    if (options.json.empty()) {
        const char* const name = options.smoke ? "bench-smoke.json" : "bench.json";
        options.json = std::filesystem::path(argv[0]).replace_filename(name).string();
    }

    int count = static_cast<int>(rest.size());
    benchmark::Initialize(&count, rest.data());
    if (benchmark::ReportUnrecognizedArguments(count, rest.data())) {
        status = 2;
        return {};
    }
    return options;
}

bool isSelected(const Case& each) {
    std::string filter = benchmark::GetBenchmarkFilter();
    const bool wanted = !filter.starts_with('-');
    if (!wanted)
        filter.erase(0, 1);
    return filter.empty() || filter == "all" || std::regex_search(each.name, std::regex(filter)) == wanted;
}

/// Grows the global heap to what the largest case needs, and forbids it to shrink.
void warmHeap() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
    constexpr std::size_t cSize = 128 << 20;
    void* const memory = std::malloc(cSize);
    check(memory != nullptr, "there is no memory to warm the heap with");
    std::memset(memory, 1, cSize);
    benchmark::DoNotOptimize(memory);
    std::free(memory);
}

/// Appends one result for each peer.
void measureCase(const Case& each, const Options& options, const ResultTable& table, std::vector<Result>& results) {
    std::vector<Side> sides;
    sides.emplace_back(each.name + "/ours", each.ours);
    for (const Peer& peer : each.peers)
        sides.emplace_back(each.name + "/" + peer.name, peer.work);
    for (Side& side : sides)
        side.prepare(options.smoke);
    for (unsigned round = 0; round < options.rounds; ++round) {
        for (Side& side : sides)
            side.measureRound();
    }
    const Side& ours = sides.front();
    for (std::size_t at = 0; at < each.peers.size(); ++at) {
        const Side& theirs = sides[at + 1];
        results.push_back({each.name, each.peers[at].name, each.peers[at].goal, ours.medianNanoseconds(),
                           theirs.medianNanoseconds(), ours.disturbedRounds() + theirs.disturbedRounds()});
        table.printResult(results.back());
    }
}

bool measureAll(const std::vector<Case>& cases, const Options& options) {
    bool succeeded = true;
    std::vector<Result> results;
    const ResultTable table(options.smoke, options.rounds);
    table.printHeader();
    for (const Case& each : cases) {
        try {
            measureCase(each, options, table, results);
        } catch (const std::exception& exception) {
            table.printFailure(each.name, exception.what());
            succeeded = false;
        }
    }
    table.printSummary(results);
    table.writeJson(options.json, results);
    return succeeded;
}

std::vector<Case> selectCases(const std::vector<std::function<std::vector<Case>()>>& groups) {
    std::vector<Case> selected;
    for (const auto& group : groups) {
        for (Case& each : group()) {
            if (isSelected(each))
                selected.push_back(std::move(each));
        }
    }
    return selected;
}

} // namespace

int run(int argc, char** argv, const std::vector<std::function<std::vector<Case>()>>& groups) {
    int status = 0;
    const std::optional<Options> options = readOptions(argc, argv, status);
    if (!options)
        return status;
    try {
        const std::vector<Case> cases = selectCases(groups);
        if (options->list) {
            for (const Case& each : cases)
                std::puts(each.name.c_str());
            return 0;
        }
        warmHeap();
        const SecondThread second;
        Common::Interface::initLibrary({});
        status = measureAll(cases, *options) ? 0 : 1;
        Common::Interface::closeLibrary();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "tarq-bench: %s\n", exception.what());
        status = 1;
    }
    return status;
}

} // namespace Tarq::Bench
