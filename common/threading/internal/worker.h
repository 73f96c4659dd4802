#pragma once

#include "common/threading/internal/waiter.h"
#include "common/threading/threaded.h"

namespace Tarq::Common::Threading {

class ThreadPool;

/// Marks the calling thread as one that is inside the pool while it lives: it runs tasks, or deletes them.
class PoolMark {
public:
    explicit PoolMark(const ThreadPool& pool) noexcept;
    ~PoolMark();
    PoolMark(const PoolMark&) = delete;
    PoolMark& operator=(const PoolMark&) = delete;

    static bool isSet(const ThreadPool& pool) noexcept;

private:
    const ThreadPool* mPool;
    const PoolMark* mOuter; ///< a task may clear another pool
};

/// What one thread of a pool does: runs one task after the other, until the pool ends.
///
/// Gives the tasks an allocator that only this thread uses. A task that ends the thread (`Thread::exit`) ends the
/// worker with it; the pool learns of that, and goes on with the others.
class Worker final : public Threaded {
public:
    Worker(ThreadPool& pool, const Memory::AllocatorPtr& taskAllocator);
    ~Worker() override;

    int32 run() override;

private:
    friend class ThreadPool;
    class Presence;

    void runTask(Task& task);

    ThreadPool& mPool;
    const Memory::AllocatorPtr mTaskAllocator;

    // The pool's, under its lock.
    struct Idler : Waiter {
        explicit Idler(Worker& theWorker) : worker(theWorker) {}
        Worker& worker;
    };
    Idler mIdle{*this};        ///< in the pool's line while the worker waits for work
    bool mIsBusy = false;      ///< with a task that counts as unfinished
    bool mIsSearching = false; ///< awake, for a task that is there or may come soon
};

} // namespace Tarq::Common::Threading
