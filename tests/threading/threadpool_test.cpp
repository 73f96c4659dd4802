#include "common/threading/threadpool.h"

#include "common/exceptions/invalidstateexception.h"
#include "common/memory/allocate.h"
#include "common/threading/thread.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/gate.h"
#include "tests/support/hostthread.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::ThreadPool;
using PoolPtr = std::unique_ptr<ThreadPool>;

namespace {

constexpr char cFile[] = "common/threading/threadpool";
constexpr char cNoWorker[] = "mEndedCount != mWorkers.size()\nError Message: No worker is left to run the task";
constexpr char cNoPool[] = "pool\nError Message: Cannot create thread pool";
constexpr char cNotAllWorkers[] = "mWorkers.size() == workerCount\nError Message: Cannot start all workers";

/// A task that a test writes in place. What it is told about, it sees from within.
struct Work : Threading::Task {
    explicit Work(std::function<void(Work&)> work) : mWork(std::move(work)) {}
    ~Work() override {
        if (onEnd)
            onEnd(*this);
    }
    void execute() override { mWork(*this); }

    using Task::mAllocator;
    using Task::mFinished;
    using Task::mPool;
    using Task::mRunning;
    std::function<void(Work&)> mWork;
    std::function<void(Work&)> onEnd;
};

Work* makeWork(std::function<void()> work) {
    return new Work([work = std::move(work)](Work&) { work(); });
}

/// A pool whose single worker is held up from the beginning until `open`.
struct HeldPool {
    HeldPool(const Memory::AllocatorPtr& allocator, uint32 capacity)
        : mPool(ThreadPool::createThreadPool(allocator, 1, capacity)) {
        mPool->appendTask(makeWork([this] {
            mEntered.open();
            mExit.wait();
        }));
        mEntered.wait();
    }
    ~HeldPool() { mExit.open(); }
    void finish() {
        mExit.open();
        mPool->waitForTasksFinished();
    }
    /// A task that writes down its name.
    Work* note(char name) {
        return makeWork([this, name] { mNotes += name; });
    }

    Gate mEntered;
    Gate mExit;
    std::string mNotes;
    PoolPtr mPool;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest,
                  "a pool has the workers and the capacity that it is asked for, or what fits the machine") {
    const uint32 processors = std::max(1u, std::thread::hardware_concurrency());
    constexpr uint32 cMaximum = 0x7FFFFFFE;
    const ExpectedAssertion tooMany("mHandle\nError Message: Cannot create semaphore", "common/threading/semaphore");
    const struct {
        uint32 workers, capacity, expectedWorkers, expectedCapacity;
    } cases[] = {{0, 0, processors, 2 * processors}, {3, 0, 3, 6}, {1, 5, 1, 5}, {1, cMaximum + 1, 1, cMaximum}};
    for (const auto& each : cases) {
        CAPTURE(each.workers);
        const PoolPtr pool(ThreadPool::createThreadPool(allocator(), each.workers, each.capacity));
        CHECK(pool->getWorkerCount() == each.expectedWorkers);
        CHECK(pool->getCapacity() == each.expectedCapacity);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a task sees its pool, its worker and an allocator of that worker, up to its end") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    int seen = 0;
    {
        const PoolPtr pool(ThreadPool::createThreadPool(host, 1, 1));
        CHECK(std::string(pool->getAllocator()->getName()) == "ThreadSafe");
        auto* const work = new Work([&](Work& self) {
            CHECK(self.mRunning);
            CHECK_FALSE(self.mFinished);
            CHECK(self.mPool == pool.get());
            CHECK(std::string(self.mAllocator->getName()) == "FreeList");
            CHECK_FALSE(self.mAllocator->isThreadSafe());
            CHECK(Threading::Thread::getCurrentThread().getPriority() == Threading::Thread::TPRIO_BELOW_NORMAL);
            CHECK(std::string(Threading::Thread::getCurrentThread().getName()) == "Worker");
            void* const block = Memory::allocateBytes(self.mAllocator, 100);
            self.onEnd = [&seen, block](Work& ended) {
                CHECK_FALSE(ended.mRunning);
                CHECK(ended.mFinished);
                Memory::releaseBytes(ended.mAllocator, block);
                ++seen;
            };
        });
        // Whatever allocator a task brings along is dropped.
        work->mAllocator = host;
        pool->appendTask(work);
        pool->waitForTasksFinished();
        CHECK(seen == 1);
    }
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(LibraryTest, "tasks run in the order of the queue, and one can be put ahead of all that wait") {
    HeldPool held(allocator(), 10);
    for (const char name : {'a', 'b'})
        held.mPool->appendTask(held.note(name));
    for (const char name : {'c', 'd'})
        held.mPool->prependTask(held.note(name));
    held.mPool->appendTask(held.note('e'));
    held.finish();
    CHECK(held.mNotes == "dcabe");
    const ExpectedAssertion expected("task\nError Message: Cannot add null-pointer task", cFile, 2);
    held.mPool->appendTask(nullptr);
    held.mPool->prependTask(nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "a full queue blocks those outside, and never a task of the pool") {
    std::atomic<int> returned{0};
    int started = 0;
    std::vector<std::jthread> producers;
    HeldPool held(allocator(), 1);
    // The only place is taken; a task that waited for another one would wait for itself.
    held.mPool->appendTask(makeWork([&] {
        for (const char name : {'x', 'y'})
            held.mPool->appendTask(held.note(name));
    }));
    for (int at = 0; at < 3; ++at) {
        producers.emplace_back([&] {
            for (int left = 200; left != 0; --left) {
                held.mPool->appendTask(makeWork([&] { CHECK(returned <= ++started + 1); }));
                ++returned;
            }
        });
    }
    held.mExit.open();
    producers.clear();
    held.finish();
    CHECK(started == 600);
    CHECK(held.mNotes == "xy");
}

TEST_CASE_FIXTURE(LibraryTest, "cleared tasks are deleted without running, the last one first; what runs goes on") {
    HeldPool held(allocator(), 3);
    std::string ended;
    for (const char name : {'a', 'b', 'c'}) {
        Work* const work = held.note(name);
        work->onEnd = [&, name](Work& self) {
            CHECK_FALSE(self.mFinished);
            ended += name;
            // The queue is not locked meanwhile, and has room.
            held.mPool->appendTask(held.note(static_cast<char>(name - 'a' + 'A')));
        };
        held.mPool->appendTask(work);
    }
    held.mPool->clearTasks();
    CHECK(ended == "cba");
    held.finish();
    CHECK(held.mNotes == "CBA");
    held.mPool->clearTasks();
}

TEST_CASE_FIXTURE(LibraryTest, "what a task throws is logged, and the task counts as finished") {
    RecordingListener listener(Debug::LOG_ERROR);
    const PoolPtr pool(ThreadPool::createThreadPool(allocator(), 1, 3));
    pool->appendTask(makeWork([] { throw new Exceptions::InvalidStateException("closed"); }));
    pool->appendTask(makeWork([] { throw std::runtime_error("broken"); }));
    pool->appendTask(makeWork([] { throw 7; }));
    pool->waitForTasksFinished();
    const std::string text = "A task of a thread pool was left by an exception: ";
    CHECK(listener.messages() == text + "closed " + text + "broken " + text + "an exception of a type unknown here ");
}

TEST_CASE_FIXTURE(LibraryTest, "inside its tasks a pool is neither waited for nor deleted, and goes on as before") {
    PoolPtr pool(ThreadPool::createThreadPool(allocator(), 2, 2));
    const std::string shown = "!Worker::isInside(pool)\nError Message: Cannot ";
    const ExpectedAssertion waited(shown + "wait for a thread pool inside one of its tasks", cFile);
    const ExpectedAssertion deleted(shown + "delete a thread pool inside one of its tasks", cFile);
    std::atomic<bool> hasRun{false};
    pool->appendTask(makeWork([&] {
        pool->waitForTasksFinished();
        delete static_cast<Memory::MemoryManaged*>(pool.get());
        // Another pool may go here, with its tasks.
        PoolPtr inner(ThreadPool::createThreadPool(allocator(), 1, 1));
        inner->appendTask(makeWork([&] { pool->appendTask(makeWork([&] { hasRun = true; })); }));
    }));
    pool->waitForTasksFinished();
    CHECK(hasRun);
}

TEST_CASE_FIXTURE(LibraryTest,
                  "the destructor of a cleared task may queue more, but not wait for the pool or delete it") {
    const PoolPtr pool(ThreadPool::createThreadPool(allocator(), 1, 1));
    Gate go;
    std::atomic<int> ran{0};
    pool->appendTask(makeWork([&] { go.wait(); }));
    auto* const cleared = makeWork([] {});
    const AssertionRecorder recorder;
    cleared->onEnd = [&](Work&) {
        pool->waitForTasksFinished();
        delete static_cast<Memory::MemoryManaged*>(pool.get());
        for (int at = 0; at < 3; ++at)
            pool->appendTask(makeWork([&] { ++ran; }));
    };
    pool->appendTask(cleared);
    pool->clearTasks();
    CHECK(recorder.getSeen().size() == 2);
    go.open();
    pool->waitForTasksFinished();
    CHECK(ran == 3);
}

TEST_CASE_FIXTURE(LibraryTest, "a task that ends its thread ends one worker; without any, tasks are deleted unrun") {
    const PoolPtr pool(ThreadPool::createThreadPool(allocator(), 2, 1));
    pool->appendTask(makeWork([] { Threading::Thread::exit(3); }));
    std::atomic<int> ran{0};
    for (int at = 0; at < 10; ++at)
        pool->appendTask(makeWork([&] { ++ran; }));
    pool->waitForTasksFinished();
    CHECK(ran == 10);
    std::atomic<int> unrun{0};
    Gate go;
    pool->appendTask(makeWork([&] {
        go.wait();
        Threading::Thread::exit(3);
    }));
    const auto appendUnrun = [&] {
        auto* const work = makeWork([] { FAIL_CHECK("a task has run without a worker"); });
        work->onEnd = [&](Work&) { ++unrun; };
        pool->appendTask(work);
    };
    // One waits for a worker, and one for a place, unless it comes too late.
    const AssertionRecorder recorder;
    appendUnrun();
    std::jthread blocked(appendUnrun);
    go.open();
    blocked.join();
    pool->waitForTasksFinished();
    appendUnrun();
    CHECK(unrun == 3);
    CHECK(recorder.getSeen().size() <= 2);
    CHECK(recorder.getSeen().back().text == cNoWorker);
}

TEST_CASE_FIXTURE(LibraryTest, "a hundred thousand tasks that queue tasks all run before the wait is over") {
    struct Branch : Threading::Task {
        Branch(std::atomic<int>& count, int depth) : mCount(count), mDepth(depth) {}
        void execute() override {
            ++mCount;
            for (int left = 2; left != 0 && mDepth != 0; --left)
                mPool->appendTask(new Branch(mCount, mDepth - 1));
        }
        std::atomic<int>& mCount;
        const int mDepth;
    };
    for (const uint32 workers : {1u, 2u, 7u}) {
        const PoolPtr pool(ThreadPool::createThreadPool(allocator(), workers, 1));
        std::atomic<int> count{0};
        for (int at = 0; at < 7; ++at)
            pool->appendTask(new Branch(count, 13));
        // Two may wait at once.
        const std::jthread other([&] {
            pool->waitForTasksFinished();
            CHECK(count == 7 * 16383);
        });
        pool->waitForTasksFinished();
        CHECK(count == 7 * 16383);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "at whatever moment a pool goes, every task has run or was cleared") {
    std::mt19937 engine(4711);
    const auto random = [&](uint32 limit) { return static_cast<uint32>(engine() % limit); };
    for (int round = 0; round < 300; ++round) {
        CAPTURE(round);
        std::atomic<int> alive{0};
        std::atomic<int> ran{0};
        PoolPtr pool(ThreadPool::createThreadPool(allocator(), 1 + random(3), 1 + random(4)));
        const auto produce = [&](int count) {
            for (; count != 0; --count) {
                auto* const work = makeWork([&ran] { ++ran; });
                ++alive;
                work->onEnd = [&](Work&) { --alive; };
                count % 2 == 0 ? pool->appendTask(work) : pool->prependTask(work);
            }
        };
        const int own = static_cast<int>(random(20));
        const int others = static_cast<int>(random(20));
        const bool clears = random(2) == 0;
        {
            const std::jthread other([&] { produce(others); });
            const std::jthread clearer([&] {
                if (clears)
                    pool->clearTasks();
                pool->waitForTasksFinished();
            });
            produce(own);
        }
        pool.reset();
        CHECK(alive == 0);
        CHECK(ran <= own + others);
        CHECK((clears || ran == own + others));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a pool that goes while threads wait for a place runs what they bring") {
    PoolPtr pool(ThreadPool::createThreadPool(allocator(), 1, 1));
    Gate go;
    std::atomic<int> ran{0};
    pool->appendTask(makeWork([&] { go.wait(); }));
    pool->appendTask(makeWork([&] { ++ran; }));
    const auto produce = [&ran, queue = pool.get()] { queue->appendTask(makeWork([&ran] { ++ran; })); };
    HostThread producers[] = {HostThread(produce), HostThread(produce), HostThread(produce)};
    CHECK(std::ranges::all_of(producers,
                              [](const HostThread& thread) { return comesTrue([&] { return thread.isAsleep(); }); }));
    HostThread deleter([&] { pool.reset(); });
    go.open();
    deleter.join();
    CHECK(ran == 4);
}

TEST_CASE_FIXTURE(LibraryTest, "a pool that memory runs out for has fewer workers or is none, and leaves nothing") {
    bool isComplete = false;
    bool wasPartial = false;
    for (int granted = 0; !isComplete; ++granted) {
        CAPTURE(granted);
        auto& ledger = *new LedgerAllocator;
        const Memory::AllocatorPtr host(&ledger);
        {
            const AssertionRecorder recorder;
            ledger.mLeft = granted;
            const PoolPtr pool(ThreadPool::createThreadPool(host, 3, 1));
            ledger.mLeft = -1;
            const std::vector<SeenAssertion> seen = recorder.getSeen();
            isComplete = seen.empty();
            CHECK(isComplete == (pool && pool->getWorkerCount() == 3));
            if (!isComplete)
                CHECK(seen.back().text == (pool ? cNotAllWorkers : cNoPool));
            if (pool) {
                wasPartial |= !isComplete;
                std::atomic<int> ran{0};
                for (int at = 0; at < 5; ++at)
                    pool->appendTask(makeWork([&] { ++ran; }));
                pool->waitForTasksFinished();
                CHECK(ran == 5);
            }
        }
        CHECK(ledger.mOutstanding.empty());
        CHECK_FALSE(ledger.mWasShared);
    }
    CHECK(wasPartial);
}
