#include "common/threading/threadpool.h"

#include "common/debug/assert.h"
#include "common/exceptions/exception.h"
#include "common/memory/allocate.h"
#include "common/memory/freelistallocator.h"
#include "common/memory/threadsafeallocator.h"
#include "common/platform/clock.h"
#include "common/platform/waitaddress.h"
#include "common/threading/internal/waiter.h"
#include "common/threading/internal/worker.h"
#include "common/threading/thread.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

namespace Tarq::Common::Threading {

namespace {

constexpr uint64 cSpinNanoseconds = 20000;
constexpr int cPausesBetweenLooks = 8;

uint32 countProcessors() noexcept {
    return std::max(1u, std::thread::hardware_concurrency());
}

Memory::AllocatorPtr makeThreadSafe(const Memory::AllocatorPtr& allocator) {
    if (!allocator || allocator->isThreadSafe())
        return allocator;
    return Memory::makeAllocator<Memory::ThreadSafeAllocator>(allocator, allocator);
}

/// Free places are counted as a semaphore counts, so that is how too many of them are reported.
uint32 usableCapacity(uint32 workerCount, uint32 capacity) {
    if (capacity == 0)
        return static_cast<uint32>(std::min<uint64>(uint64{workerCount} * 2, Semaphore::cMaximumCount));
    if (capacity > Semaphore::cMaximumCount) {
        const Semaphore refused(capacity);
        return Semaphore::cMaximumCount;
    }
    return capacity;
}

/// Looks again and again, for some microseconds, until `isDone`. Somebody else has to be running meanwhile, so with one
/// processor it does not begin.
template <class Condition>
void spinUntil(const Condition& isDone) noexcept {
    static const bool isUseful = countProcessors() > 1;
    if (!isUseful)
        return;
    const uint64 start = Platform::getMonotonicNanoseconds();
    while (!isDone() && Platform::getMonotonicNanoseconds() - start < cSpinNanoseconds) {
        for (int pause = 0; pause < cPausesBetweenLooks; ++pause)
            Platform::relaxProcessor();
    }
}

/// What only one thread changes at a time, because it holds the lock.
template <class Count>
void add(std::atomic<Count>& counter, Count count) noexcept {
    counter.store(counter.load(std::memory_order_relaxed) + count, std::memory_order_release);
}

} // namespace

ThreadPool* ThreadPool::createThreadPool(const Memory::AllocatorPtr& allocator, uint32 workerCount, uint32 capacity) {
    std::unique_ptr<ThreadPool> pool;
    if (workerCount == 0)
        workerCount = countProcessors();
    try {
        pool.reset(new (makeThreadSafe(allocator)) ThreadPool(usableCapacity(workerCount, capacity)));
        pool->startWorkers(workerCount);
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
    }
    if (pool && pool->mWorkers.empty())
        pool.reset();
    if (!TARQ_ASSERT(pool, "Cannot create thread pool"))
        return nullptr;
    TARQ_ASSERT_AS("mWorkers.size() == workerCount", pool->mWorkers.size() == workerCount, "Cannot start all workers");
    return pool.release();
}

ThreadPool::ThreadPool(uint32 capacity) : mCapacity(capacity), mThreads(getAllocator()), mWorkers(getAllocator()) {}

ThreadPool::~ThreadPool() {
    waitForTasksFinished();
    endWorkers();
}

void ThreadPool::operator delete(ThreadPool* self, std::destroying_delete_t) {
    // Before the destructor there is still something that can go on.
    if (!TARQ_ASSERT_AS("!Worker::isInside(pool)", !PoolMark::isSet(*self),
                        "Cannot delete a thread pool inside one of its tasks"))
        return;
    self->~ThreadPool();
    MemoryManaged::operator delete(self);
}

void ThreadPool::startWorkers(uint32 count) {
    while (mWorkers.size() != count && startWorker()) {
    }
}

/// Returns false when the system refuses; throws when there is no memory. Changes nothing then.
bool ThreadPool::startWorker() {
    mThreads.reserve(mThreads.size() + 1);
    mWorkers.reserve(mWorkers.size() + 1);
    const auto taskAllocator = Memory::makeAllocator<Memory::FreeListAllocator>(getAllocator(), getAllocator());
    std::unique_ptr<Worker> worker(new (getAllocator()) Worker(*this, taskAllocator));
    std::unique_ptr<Thread> thread(new (getAllocator()) Thread(worker.get(), "Worker", 0));
    if (!thread->isValid())
        return false;
    thread->setPriority(Thread::TPRIO_BELOW_NORMAL);
    mThreads.push_back(thread.release());
    mWorkers.push_back(worker.release());
    return true;
}

void ThreadPool::endWorkers() {
    {
        Wakeups wakeups;
        const ScopedLock inside(mLock);
        mIsEnding = true;
        wakeups.takeAll(mIdleWorkers);
    }
    for (Thread* const thread : mThreads) {
        thread->join();
        delete thread;
    }
    for (Worker* const worker : mWorkers)
        delete worker;
}

void ThreadPool::appendTask(Task* task) {
    queueTask(task, false);
}

void ThreadPool::prependTask(Task* task) {
    queueTask(task, true);
}

void ThreadPool::clearTasks() {
    TaskQueue cleared;
    std::size_t count;
    {
        Wakeups wakeups;
        const ScopedLock inside(mLock);
        count = dequeueAll(cleared);
        admitProducers(mCapacity, wakeups);
        wakeWorker(wakeups);
    }
    deleteTasks(cleared, count);
}

/// Outside the lock: a destructor may do as it likes, with this pool too. Whoever waits for the tasks waits for that.
void ThreadPool::deleteTasks(TaskQueue& tasks, std::size_t count) {
    {
        const PoolMark mark(*this);
        tasks.deleteAll();
    }
    Wakeups wakeups;
    const ScopedLock inside(mLock);
    finish(count, wakeups);
}

void ThreadPool::waitForTasksFinished() {
    if (!TARQ_ASSERT_AS("!Worker::isInside(pool)", !PoolMark::isSet(*this),
                        "Cannot wait for a thread pool inside one of its tasks"))
        return;
    const auto isFinished = [this] { return mUnfinishedCount.load(std::memory_order_acquire) == 0; };
    spinUntil(isFinished);
    Waiter self;
    {
        const ScopedLock inside(mLock);
        if (isFinished())
            return;
        self.next = std::exchange(mFinishWaiters, &self);
    }
    self.semaphore.wait();
}

void ThreadPool::queueTask(Task* task, bool isFirst) {
    if (!TARQ_ASSERT(task, "Cannot add null-pointer task"))
        return;
    std::optional<Producer> blocked;
    {
        Wakeups wakeups;
        const ScopedLock inside(mLock);
        if (mEndedCount != mWorkers.size()) [[likely]] {
            add<std::size_t>(mUnfinishedCount, 1);
            if (mQueuedCount.load(std::memory_order_relaxed) >= mCapacity && !PoolMark::isSet(*this)) {
                lineUp(blocked.emplace(*task, isFirst));
            } else {
                enqueue(*task, isFirst);
                wakeWorker(wakeups);
            }
            task = nullptr;
        }
    }
    if (blocked)
        blocked->semaphore.wait();
    if (!TARQ_ASSERT_AS("mEndedCount != mWorkers.size()", !task, "No worker is left to run the task"))
        delete task;
}

/// What the worker has run before counts as finished here: one visit inside the lock for each task.
Task* ThreadPool::takeTask(Worker& worker) {
    for (bool hasSearched = false;;) {
        {
            Wakeups wakeups;
            const ScopedLock inside(mLock);
            finishTask(worker, wakeups);
            if (mQueuedCount.load(std::memory_order_relaxed) != 0)
                return dequeue(worker, wakeups);
            if (mIsEnding)
                return nullptr;
            hasSearched = beginSearchOrSleep(worker, hasSearched);
        }
        if (hasSearched)
            spinUntil([this] { return mQueuedCount.load(std::memory_order_relaxed) != 0; });
        else
            worker.mIdle.semaphore.wait();
    }
}

void ThreadPool::leave(Worker& worker) {
    TaskQueue orphans;
    std::size_t count = 0;
    {
        Wakeups wakeups;
        const ScopedLock inside(mLock);
        finishTask(worker, wakeups);
        if (++mEndedCount == mWorkers.size()) {
            admitProducers(std::numeric_limits<std::size_t>::max(), wakeups);
            count = dequeueAll(orphans);
        }
    }
    deleteTasks(orphans, count);
}

void ThreadPool::enqueue(Task& task, bool isFirst) noexcept {
    if (isFirst)
        mTaskQueue.prepend(task);
    else
        mTaskQueue.append(task);
    add<std::size_t>(mQueuedCount, 1);
}

Task* ThreadPool::dequeue(Worker& worker, Wakeups& wakeups) {
    if (!TARQ_ASSERT(!mTaskQueue.empty(), "Task Queue is empty !"))
        return nullptr;
    Task* const task = mTaskQueue.takeFirst();
    add<std::size_t>(mQueuedCount, -std::size_t{1});
    worker.mIsBusy = true;
    admitProducers(mCapacity, wakeups);
    // Each one that finds something wakes the next one, so whoever queues tasks wakes one worker only.
    if (worker.mIsSearching) {
        endSearch(worker);
        wakeWorker(wakeups);
    }
    return task;
}

/// Returns how many there are.
std::size_t ThreadPool::dequeueAll(TaskQueue& tasks) noexcept {
    std::swap(tasks, mTaskQueue);
    return mQueuedCount.exchange(0, std::memory_order_relaxed);
}

void ThreadPool::lineUp(Producer& producer) noexcept {
    (mProducers ? mLastProducer->next : mProducers) = &producer;
    mLastProducer = &producer;
}

/// A task comes in here rather than when its thread has woken: so it is in the queue as soon as there is room, and the
/// thread needs nothing of the pool any more.
void ThreadPool::admitProducers(std::size_t capacity, Wakeups& wakeups) noexcept {
    while (mProducers && mQueuedCount.load(std::memory_order_relaxed) < capacity)
        [[unlikely]] {
            const auto& producer = static_cast<const Producer&>(*mProducers);
            enqueue(producer.task, producer.isFirst);
            wakeups.takeFirst(mProducers);
        }
}

void ThreadPool::wakeWorker(Wakeups& wakeups) noexcept {
    if (mIsSearched || !mIdleWorkers || mQueuedCount.load(std::memory_order_relaxed) == 0)
        return;
    static_cast<Worker::Idler*>(mIdleWorkers)->worker.mIsSearching = true;
    mIsSearched = true;
    wakeups.takeFirst(mIdleWorkers);
}

/// Returns whether it is the search, which one worker does at a time, and not twice before it sleeps.
bool ThreadPool::beginSearchOrSleep(Worker& worker, bool hasSearched) noexcept {
    if (!hasSearched && (worker.mIsSearching || !mIsSearched)) {
        worker.mIsSearching = true;
        mIsSearched = true;
        return true;
    }
    endSearch(worker);
    worker.mIdle.next = std::exchange(mIdleWorkers, &worker.mIdle);
    return false;
}

void ThreadPool::endSearch(Worker& worker) noexcept {
    if (std::exchange(worker.mIsSearching, false))
        mIsSearched = false;
}

void ThreadPool::finishTask(Worker& worker, Wakeups& wakeups) noexcept {
    if (std::exchange(worker.mIsBusy, false))
        finish(1, wakeups);
}

void ThreadPool::finish(std::size_t count, Wakeups& wakeups) noexcept {
    add(mUnfinishedCount, -count);
    if (mUnfinishedCount.load(std::memory_order_relaxed) == 0) [[unlikely]]
        wakeups.takeAll(mFinishWaiters);
}

} // namespace Tarq::Common::Threading
