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
    std::printf("%-36s %10s %10s  %6s  %-6s %-10s  %s\n", "work", "ours", "peer", "ratio", "goal", "", "peer");
}

void ResultTable::printResult(const Result& result) const {
    char goal[16] = "-";
    if (result.goal != 0)
        std::snprintf(goal, sizeof(goal), "%.2f", result.goal);
    std::printf("%-36s %10s %10s  %6.3f  %-6s %-10s  %s\n", result.name.c_str(),
                formatTime(result.oursNanoseconds).c_str(), formatTime(result.peerNanoseconds).c_str(), result.ratio(),
                goal, verdict(result, mSmoke), result.peer.c_str());
    std::fflush(stdout);
}

void ResultTable::printFailure(const std::string& name, const std::string& what) const {
    std::printf("%-36s FAILED: %s\n", name.c_str(), what.c_str());
    std::fflush(stdout);
}

void ResultTable::printSummary(const std::vector<Result>& results) const {
    if (mSmoke) {
        std::puts("This was a smoke run: the times mean nothing.");
        return;
    }
    const auto goals = std::count_if(results.begin(), results.end(), [](const Result& r) { return r.goal != 0; });
    const auto met = std::count_if(results.begin(), results.end(), [](const Result& r) { return r.isMet(); });
    std::printf("%td of %td goals met (ratio: time of ours / time of the peer)\n", met, goals);
}

void ResultTable::writeJson(const std::string& path, const std::vector<Result>& results) const {
    std::ofstream file(path);
    file << "{\n  \"smoke\": " << (mSmoke ? "true" : "false") << ",\n  \"rounds\": " << mRounds << ",\n  \"results\": [";
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
