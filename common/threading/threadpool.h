#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/threading/spinlock.h"
#include "common/threading/taskqueue.h"
#include "common/types.h"

#include <atomic>
#include <cstddef>
#include <new>

namespace Tarq::Common::Threading {

class Thread;
class Wakeups;
class Worker;
struct Producer;
struct Waiter;

/// A fixed set of threads that run tasks from one bounded queue.
///
///     Threading::ThreadPool* pool = Threading::ThreadPool::createThreadPool(allocator, 0, 0);
///     pool->appendTask(new Smooth(grid));
///     pool->waitForTasksFinished();
///     delete pool;
///
/// Every worker has a free-list allocator of its own for the tasks that it runs. Workers run below normal priority, so
/// that the threads of the host come first.
///
/// Threads: all operations on any, several at once, but for `delete`: by then every other has returned, and none
/// starts. Only a thread that is inside `appendTask` or `prependTask` already, because the queue is full, may be.
/// Inside its own tasks, and their destructors, a pool is not waited for and not deleted: both are refused.
/// Ownership: of the threads, and of every task from the moment it is queued.
/// States: it runs from `createThreadPool` to its end. A task that ends its thread (`Thread::exit`) takes its worker
/// out of the pool; when that was the last one, tasks that wait are deleted without running. Nothing is thrown.
///
/// An idle worker looks for the next task for some microseconds before it sleeps, one worker at a time.
class TARQ_API ThreadPool : public Memory::MemoryManaged {
public:
    /// Makes a pool on `allocator`; one that is not safe on several threads is wrapped in a `ThreadSafeAllocator`, and
    /// used by nobody else as long as the pool lives.
    ///
    /// `workerCount` 0 means as many as there are processors; `capacity`, the largest number of tasks that wait, those
    /// that tasks have queued not counted, 0 means twice as many as there are workers. Asserts "Cannot create
    /// semaphore" for a capacity above 2147483646; the pool has that one. When the system or the memory gives out on
    /// the way, the pool runs with the workers that have been started, after the assertion "Cannot start all workers".
    /// Without a single one: the assertion "Cannot create thread pool", null.
    static ThreadPool* createThreadPool(const Memory::AllocatorPtr& allocator, uint32 workerCount, uint32 capacity);
    /// Waits until all queued tasks have run, and those that they queue, and ends the threads.
    ~ThreadPool() override;

    /// Queues `task` behind all that wait. Blocks while the queue is full; who has blocked longest comes in first.
    ///
    /// A task of this pool never blocks here, nor does its destructor: what it queues goes in at once, beyond the
    /// capacity if need be. Otherwise all workers could wait for a place that only they can free. Other threads wait
    /// for as long as tasks keep the queue full. Asserts "Cannot add null-pointer task"; nothing is queued then.
    /// Asserts "No worker is left to run the task" when tasks have ended all threads; deletes the task then.
    void appendTask(Task* task);
    /// The same, ahead of all that wait.
    void prependTask(Task* task);

    /// Deletes the tasks that wait, the last one first, on the calling thread. Tasks that run are not affected, nor are
    /// those whose `appendTask` still blocks: they come in now. A destructor may queue tasks.
    void clearTasks();

    /// Returns as soon as no task waits or runs: all have been deleted, with what they have queued themselves.
    ///
    /// Tasks that other threads queue meanwhile count as well; a moment without any is enough.
    /// Asserts "Cannot wait for a thread pool inside one of its tasks", and returns, because that one would wait for
    /// itself.
    void waitForTasksFinished();

    uint32 getWorkerCount() const noexcept { return mWorkers.size(); }
    uint32 getCapacity() const noexcept { return mCapacity; }

    using MemoryManaged::operator delete;
    /// Asserts "Cannot delete a thread pool inside one of its tasks", and does nothing: the pool goes on as before, and
    /// is still to be deleted, from elsewhere.
    static void operator delete(ThreadPool* self, std::destroying_delete_t);

private:
    friend class Worker;

    explicit ThreadPool(uint32 capacity);

    void startWorkers(uint32 count);
    bool startWorker();
    void endWorkers();

    void queueTask(Task* task, bool isFirst);
    Task* takeTask(Worker& worker);
    void leave(Worker& worker);
    void deleteTasks(TaskQueue& tasks, std::size_t count);

    // These are called inside the lock.
    void enqueue(Task& task, bool isFirst) noexcept;
    Task* dequeue(Worker& worker, Wakeups& wakeups);
    std::size_t dequeueAll(TaskQueue& tasks) noexcept;
    void lineUp(Producer& producer) noexcept;
    void admitProducers(std::size_t capacity, Wakeups& wakeups) noexcept;
    void wakeWorker(Wakeups& wakeups) noexcept;
    bool beginSearchOrSleep(Worker& worker, bool hasSearched) noexcept;
    void endSearch(Worker& worker) noexcept;
    void finishTask(Worker& worker, Wakeups& wakeups) noexcept;
    void finish(std::size_t count, Wakeups& wakeups) noexcept;

    const uint32 mCapacity;
    Container::Vector<Thread*> mThreads;
    Container::Vector<Worker*> mWorkers;

    SpinLock mLock{cSpinCount}; ///< of all that follows; some of it is read without
    TaskQueue mTaskQueue;
    std::atomic<std::size_t> mQueuedCount{0};     ///< how many tasks `mTaskQueue` has
    std::atomic<std::size_t> mUnfinishedCount{0}; ///< with those that run, and those of the threads that block
    Waiter* mProducers = nullptr;                 ///< threads that block, the longest first
    Waiter* mLastProducer = nullptr;
    Waiter* mFinishWaiters = nullptr;
    Waiter* mIdleWorkers = nullptr; ///< who fell asleep last comes first, because that one wakes fastest
    uint32 mEndedCount = 0;         ///< workers that are gone
    bool mIsSearched = false;       ///< a worker is searching: nobody has to be woken for a task that comes in
    bool mIsEnding = false;
};

} // namespace Tarq::Common::Threading
