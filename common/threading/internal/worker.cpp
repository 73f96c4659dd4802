#include "common/threading/internal/worker.h"

#include "common/debug/report.h"
#include "common/exceptions/internal/guarded.h"
#include "common/memory/allocator.h"
#include "common/threading/threadpool.h"

namespace Tarq::Common::Threading {

namespace {

thread_local constinit const PoolMark* tInnermost = nullptr;

} // namespace

PoolMark::PoolMark(const ThreadPool& pool) noexcept : mPool(&pool), mOuter(tInnermost) {
    tInnermost = this;
}

PoolMark::~PoolMark() {
    tInnermost = mOuter;
}

bool PoolMark::isSet(const ThreadPool& pool) noexcept {
    const PoolMark* mark = tInnermost;
    while (mark && mark->mPool != &pool)
        mark = mark->mOuter;
    return mark != nullptr;
}

/// Begins and ends the thread's time in the pool, also when the thread is ended from within.
class Worker::Presence {
public:
    explicit Presence(Worker& worker) noexcept : mMark(worker.mPool), mWorker(worker) {}
    ~Presence() { mWorker.mPool.leave(mWorker); }
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

private:
    PoolMark mMark;
    Worker& mWorker;
};

Worker::Worker(ThreadPool& pool, const Memory::AllocatorPtr& taskAllocator)
    : mPool(pool), mTaskAllocator(taskAllocator) {}

Worker::~Worker() = default;

int32 Worker::run() {
    const Presence presence(*this);
    while (Task* const task = mPool.takeTask(*this))
        runTask(*task);
    return 0;
}

void Worker::runTask(Task& task) {
    struct Run {
        explicit Run(Task& theTask) noexcept : task(theTask) {
            task.mFinished = false;
            task.mRunning = true;
        }
        ~Run() {
            task.mRunning = false;
            task.mFinished = true;
            delete &task;
        }
        Task& task;
    };
    task.mAllocator = mTaskAllocator;
    task.mPool = &mPool;
    Exceptions::CaughtText caught;
    {
        const Run run(task);
        Exceptions::runGuarded(caught, [&task] {
            task.execute();
            return true;
        });
    }
    if (caught.isCaught())
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Threading::Worker::run"},
                      "A task of a thread pool was left by an exception: ", caught.getText());
}

} // namespace Tarq::Common::Threading
