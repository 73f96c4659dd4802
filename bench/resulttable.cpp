#include "bench/resulttable.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace Tarq::Bench {

namespace {

std::string formatTime(double nanoseconds) {
    struct Unit {
        double nanoseconds;
        const char* name;
    };
    static constexpr Unit cUnits[] = {{1e6, "ms"}, {1e3, "us"}, {1, "ns"}};
    const Unit* const unit = std::find_if(std::begin(cUnits), std::end(cUnits) - 1,
                                          [&](const Unit& candidate) { return nanoseconds >= candidate.nanoseconds; });
    char text[32];
    std::snprintf(text, sizeof(text), "%.2f %s", nanoseconds / unit->nanoseconds, unit->name);
    return text;
}

const char* verdict(const Result& result, bool smoke) {
    if (smoke)
        return "ran";
    if (result.goal == 0)
        return "shown";
    return result.isMet() ? "met" : "MISSED";
}

} // namespace

void ResultTable::printHeader() const {
    std::printf("%-32s %10s %10s %7s  %-7s %s\n", "work", "ours", "peer", "ratio", "", "goal");
}

void ResultTable::printResult(const Result& result) const {
    char goal[16] = "beside";
    if (result.goal != 0)
        std::snprintf(goal, sizeof(goal), "<= %.2f x", result.goal);
    std::printf("%-32s %10s %10s %7.3f  %-7s %s %s", result.name.c_str(), formatTime(result.oursNanoseconds).c_str(),
                formatTime(result.peerNanoseconds).c_str(), result.ratio(), verdict(result, mSmoke), goal,
                result.peer.c_str());
    if (!mSmoke && result.disturbedRounds != 0)
        std::printf("  (%u of %u rounds disturbed)", result.disturbedRounds, 2 * mRounds);
    std::puts("");
    std::fflush(stdout);
}

void ResultTable::printFailure(const std::string& name, const std::string& what) const {
    std::printf("%-32s FAILED: %s\n", name.c_str(), what.c_str());
    std::fflush(stdout);
}

void ResultTable::printSummary(const std::vector<Result>& results) const {
    if (mSmoke) {
        std::puts("This was a smoke run: the times mean nothing.");
        return;
    }
    const auto goals = std::count_if(results.begin(), results.end(), [](const Result& r) { return r.goal != 0; });
    const auto met = std::count_if(results.begin(), results.end(), [](const Result& r) { return r.isMet(); });
    std::printf("%td of %td goals met. The ratio is time of ours / time of the peer; a round is disturbed "
                "when another program\ntakes the processor away.\n",
                met, goals);
}

void ResultTable::writeJson(const std::string& path, const std::vector<Result>& results) const {
    std::ofstream file(path);
    file << "{\n  \"smoke\": " << (mSmoke ? "true" : "false") << ",\n  \"rounds\": " << mRounds
         << ",\n  \"results\": [";
    const char* separator = "\n";
    for (const Result& result : results) {
        file << separator << "    { \"name\": \"" << result.name << "\", \"peer\": \"" << result.peer
             << "\", \"ours_ns\": " << result.oursNanoseconds << ", \"peer_ns\": " << result.peerNanoseconds
             << ", \"ratio\": " << result.ratio() << ", \"disturbed_rounds\": " << result.disturbedRounds;
        if (result.goal != 0)
            file << ", \"goal\": " << result.goal << ", \"met\": " << (result.isMet() ? "true" : "false");
        file << " }";
        separator = ",\n";
    }
    file << "\n  ]\n}\n";
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

} // namespace Tarq::Bench
