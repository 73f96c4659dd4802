#pragma once

#include "bench/harness.h"

namespace Tarq::Bench {

/// One of those who take turns: what it measured so far.
class Side {
public:
    /// `work` outlives this object.
    Side(std::string name, const Work& work) : mName(std::move(name)), mWork(work) {}

    /// Finds out how many iterations a round has, so that all rounds do the same; in a smoke run it is one.
    void prepare(bool smoke);
    /// A round in which another program took the processor away is measured again, a few times at most; what counts
    /// then is the attempt that was disturbed the least.
    void measureRound();

    double medianNanoseconds() const;
    /// How many rounds were disturbed all the same.
    unsigned disturbedRounds() const { return mDisturbedRounds; }

private:
    struct Measurement {
        double nanoseconds = 0;
        benchmark::IterationCount iterations = 0;
        bool onTwoThreads = false;
        long preemptions = 0;
    };
    class Collector;

    Measurement measureOnce() const;

    std::string mName;
    const Work& mWork;
    benchmark::IterationCount mIterations = 0; ///< 0: as many as the minimum time needs
    unsigned mMostAttempts = 1;
    std::vector<double> mNanoseconds;
    unsigned mDisturbedRounds = 0;
};

} // namespace Tarq::Bench
