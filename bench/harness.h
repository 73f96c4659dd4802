#pragma once

#include "common/types.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

/// The rules under which every bench measures ours beside its peers.
///
/// - One process does both, in rounds: ours, peer, ours, peer ...; what counts is the median of the rounds.
/// - A second thread exists from the first measurement to the last, so that nothing takes the short cuts of a process
///   with one thread. Two-thread cases run on it and on the calling thread, each pinned to a processor of its own.
/// - The heap is warm: the global heap has grown before the first measurement and never shrinks.
/// - A case on one thread is measured in that thread's processor time, a case on two in elapsed time.
/// - Every side checks that the work was really done, and throws when it was not.
namespace Tarq::Bench {

using Common::uint32;
using Common::uint64;

/// Does the work of one side, once for each round of `for (auto _ : state)`.
using Work = std::function<void(benchmark::State&)>;

struct Peer {
    std::string name;
    double goal; ///< the largest ratio of times, ours / peer; 0 for a peer that is only shown
    Work work;
};

struct Case {
    std::string name; ///< "<area>/<work>", which is what `--benchmark_filter` looks at
    Work ours;
    std::vector<Peer> peers;
};

/// Throws what `run` reports when `holds` is false.
void check(bool holds, const char* what);

/// Says that each iteration did `count` operations; times are shown for one of them. Called after the last iteration.
void countOperations(benchmark::State& state, uint64 count);

/// Says that two threads together did `operations`, and that elapsed time counts.
void countOperationsOfBothThreads(benchmark::State& state, uint64 operations);

/// Reads the command line, brings the library up, measures the cases of every group, prints the table and writes it as
/// JSON. Returns the exit status of the process: 0, whatever the times are, unless a case could not do its work.
int run(int argc, char** argv, const std::vector<std::function<std::vector<Case>()>>& groups);

} // namespace Tarq::Bench
