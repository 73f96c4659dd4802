#include "common/threading/internal/worker.h"

#include "common/debug/report.h"
#include "common/exceptions/exception.h"
#include "common/memory/allocator.h"
#include "common/platform/thread.h"
#include "common/threading/threadpool.h"

#include <exception>
#include <string_view>

namespace Tarq::Common::Threading {

namespace {

thread_local constinit const ThreadPool* tPool = nullptr;

/// What an exception said, for the time after it: who gets the report may end the thread, which cannot pass while an
/// exception is being handled. What is too long is cut off.
struct CaughtText {
    void keep(std::string_view what) noexcept { text[what.copy(text, sizeof(text) - 1)] = '\0'; }

    char text[256];
};

/// Returns whether the task came to its end.
bool execute(Task& task, CaughtText& caught) {
    try {
        task.execute();
        return true;
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        caught.keep(exception->getMessage());
    } catch (const std::exception& exception) {
        caught.keep(exception.what());
    } catch (...) {
        Platform::resumeThreadEnd();
        caught.keep("an exception of a type unknown here");
    }
    return false;
}

} // namespace

/// Begins and ends the thread's time in the pool, also when the thread is ended from within.
class Worker::Presence {
public:
    explicit Presence(Worker& worker) noexcept : mWorker(worker) { tPool = &worker.mPool; }
    ~Presence() {
        mWorker.mPool.leave(mWorker);
        tPool = nullptr;
    }
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

private:
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
    CaughtText caught;
    bool isDone;
    {
        const Run run(task);
        isDone = execute(task, caught);
    }
    if (!isDone)
        Debug::report({Debug::LOG_ERROR, "Tarq::Common::Threading::Worker::run"},
                      "A task of a thread pool was left by an exception: ", caught.text);
}

bool Worker::isInside(const ThreadPool& pool) noexcept {
    return tPool == &pool;
}

} // namespace Tarq::Common::Threading
