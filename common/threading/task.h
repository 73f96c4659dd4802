#pragma once

#include "common/export.h"
#include "common/memory/allocatorptr.h"

namespace Tarq::Common::Threading {

class ThreadPool;

/// A piece of work for a `ThreadPool`: derive, write `execute`, make one with `new`, and queue it.
///
///     struct Smooth : Threading::Task {
///         explicit Smooth(Grid& grid) : mGrid(grid) {}
///         void execute() override { mGrid.smooth(mAllocator); }
///         Grid& mGrid;
///     };
///     pool->appendTask(new Smooth(grid));
///
/// Ownership: the caller's until it is queued, then the pool's, which deletes it after it ran, in `clearTasks`, or when
/// there is no worker left. So a task runs once; what it leaves behind, it writes to somewhere else. A class whose
/// objects are to be made on an allocator derives from `Memory::MemoryManaged` first and from this second, and says
/// `using Task::mAllocator;`: the other one, `getAllocator`, is not the worker's.
///
/// Threads: `execute` runs on a worker of the pool, and then the destructor, on the same. One that does not run is
/// deleted on the thread that clears or queues, or on the last worker. What is written before a task is queued, the
/// task sees.
class TARQ_API Task {
public:
    virtual ~Task();
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    /// The work. What it throws is logged as an error, and the task counts as finished.
    ///
    /// It may queue more tasks, and clear those that wait. It cannot wait for its own pool, nor delete it.
    virtual void execute() = 0;

protected:
    Task() noexcept;

    bool mRunning = false;  ///< while `execute` runs
    bool mFinished = false; ///< from then on: the destructor can tell a task that ran from one that was cleared
    /// The running worker's: no other thread uses it, so it needs no lock. Empty before the task runs, unless the task
    /// has put one here, which is dropped then; still there in the destructor. Keep neither the allocator nor blocks of
    /// it any longer than the task: no other thread may touch them, and the pool takes them along when it goes.
    Memory::AllocatorPtr mAllocator;
    ThreadPool* mPool = nullptr; ///< the one that runs the task; null before

private:
    friend class TaskQueue;
    friend class Worker;

    Task* mNext = nullptr; ///< in the queue
};

} // namespace Tarq::Common::Threading
