#include "bench/cases.h"
#include "common/library.h"
#include "common/threading/threadpool.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <semaphore>
#include <utility>

#include <asio/post.hpp>
#include <asio/thread_pool.hpp>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

namespace Tarq::Bench {

namespace {

using Common::Threading::ThreadPool;

constexpr uint32 cThreads = 2;

void workFor(uint64 nanoseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::nanoseconds(nanoseconds);
    while (std::chrono::steady_clock::now() < end) {
    }
}

/// A task that is a function, as the peers' tasks are.
template <class Body>
class BodyTask final : public Common::Threading::Task {
public:
    explicit BodyTask(Body body) : mBody(std::move(body)) {}
    void execute() override { mBody(); }

private:
    Body mBody;
};

class OurPool {
public:
    explicit OurPool(uint32 capacity)
        : mPool(ThreadPool::createThreadPool(Common::Library::getTempAlloc(), cThreads, capacity)) {
        check(mPool && mPool->getWorkerCount() == cThreads, "the pool cannot be made");
    }

    template <class Body>
    void queue(const Body& body) {
        mPool->appendTask(new BodyTask<Body>(body));
    }
    void wait() { mPool->waitForTasksFinished(); }
    template <class Function>
    void runInside(const Function& function) {
        function();
    }

private:
    std::unique_ptr<ThreadPool> mPool;
};

/// The thread that waits is one of those that work.
class TbbPool {
public:
    explicit TbbPool(uint32) : mLimit(tbb::global_control::max_allowed_parallelism, cThreads), mArena(cThreads) {}

    template <class Body>
    void queue(const Body& body) {
        mGroup.run(body);
    }
    void wait() { mGroup.wait(); }
    /// Entering the arena is not to be paid for with each task.
    template <class Function>
    void runInside(const Function& function) {
        mArena.execute(function);
    }

private:
    tbb::global_control mLimit;
    tbb::task_arena mArena;
    tbb::task_group mGroup;
};

class AsioPool {
public:
    explicit AsioPool(uint32) : mPool(cThreads) {}

    /// One task at a time.
    template <class Body>
    void queue(const Body& body) {
        asio::post(mPool, [this, body] {
            body();
            mDone.release();
        });
    }
    void wait() { mDone.acquire(); }
    template <class Function>
    void runInside(const Function& function) {
        function();
    }

private:
    std::binary_semaphore mDone{0};
    asio::thread_pool mPool;
};

/// Queues that many tasks and waits for all of them; what is shown is the time of one.
template <class Pool, uint32 Count, uint64 Nanoseconds>
void runTasks(benchmark::State& state) {
    Pool pool(Count);
    std::atomic<uint64> executed{0};
    const auto body = [&executed] {
        if constexpr (Nanoseconds != 0)
            workFor(Nanoseconds);
        executed.fetch_add(1, std::memory_order_relaxed);
    };
    for (auto _ : state) {
        pool.runInside([&] {
            for (uint32 at = 0; at < Count; ++at)
                pool.queue(body);
            pool.wait();
        });
    }
    const auto all = static_cast<uint64>(state.iterations()) * Count;
    check(executed.load() == all, "a task was not run");
    countOperationsOfBothThreads(state, all);
}

} // namespace

std::vector<Case> threadPoolCases() {
    return {
        {"threadpool/2000-tasks-10us", runTasks<OurPool, 2000, 10000>, {{"TBB", 1.05, runTasks<TbbPool, 2000, 10000>}}},
        {"threadpool/100000-tiny-tasks", runTasks<OurPool, 100000, 0>, {{"TBB", 1.5, runTasks<TbbPool, 100000, 0>}}},
        {"threadpool/idle-round-trip",
         runTasks<OurPool, 1, 0>,
         {{"asio::thread_pool", 0.5, runTasks<AsioPool, 1, 0>}, {"TBB", 0, runTasks<TbbPool, 1, 0>}}},
    };
}

} // namespace Tarq::Bench
