#pragma once

#include "bench/harness.h"

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

namespace Tarq::Bench {

/// The thread that is always there. It runs one job at a time, and sleeps in between.
class SecondThread {
public:
    /// The one of this process, while `run` runs.
    static SecondThread& get();

    SecondThread();
    ~SecondThread();
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

    void start(std::function<void()> job);
    bool isBusy() const { return mState.load(std::memory_order_acquire) == State::STATE_BUSY; }
    /// Waits for the job, and throws what it threw.
    void wait();

private:
    enum class State { STATE_IDLE, STATE_BUSY, STATE_ENDING };
    void work();

    std::function<void()> mJob;
    std::exception_ptr mFailure;
    std::atomic<State> mState{State::STATE_IDLE};
    std::thread mThread;
};

/// Keeps the calling thread on one of the processors that the process may use, for as long as the scope lasts.
class PinnedThread {
public:
    explicit PinnedThread(uint32 processor);
    ~PinnedThread();
    PinnedThread(const PinnedThread&) = delete;
    PinnedThread& operator=(const PinnedThread&) = delete;

private:
    struct Affinity;
    std::unique_ptr<Affinity> mBefore;
};

/// Runs `operation(0)` on this thread once for each iteration, and `operation(1)` over and over on the second thread as
/// long as that takes. Returns how often it ran on both, also before the first iteration and after the last.
template <class Operation>
uint64 contend(benchmark::State& state, const Operation& operation) {
    struct Companion {
        std::atomic<bool> stop{false};
        alignas(64) std::atomic<uint64> count{0};
        bool waited = false;

        void end() {
            stop.store(true, std::memory_order_relaxed);
            if (!std::exchange(waited, true))
                SecondThread::get().wait();
        }
        ~Companion() {
            try {
                end();
            } catch (...) {
                // This thread has failed as well, and that is what is reported.
            }
        }
    };

    const PinnedThread here(0);
    Companion companion;
    SecondThread::get().start([&companion, &operation] {
        const PinnedThread there(1);
        for (uint64 count = 1; !companion.stop.load(std::memory_order_relaxed); ++count) {
            operation(1);
            companion.count.store(count, std::memory_order_relaxed);
        }
    });
    while (companion.count.load(std::memory_order_relaxed) == 0 && SecondThread::get().isBusy())
        std::this_thread::yield();

    const uint64 before = companion.count.load(std::memory_order_relaxed);
    for (auto _ : state)
        operation(0);
    const uint64 during = companion.count.load(std::memory_order_relaxed) - before;
    companion.end();

    const auto own = static_cast<uint64>(state.iterations());
    countOperationsOfBothThreads(state, own + during);
    return own + companion.count.load(std::memory_order_relaxed);
}

} // namespace Tarq::Bench
