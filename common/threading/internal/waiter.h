#pragma once

#include "common/threading/semaphore.h"
#include "common/threading/task.h"

#include <utility>

namespace Tarq::Common::Threading {

/// A thread that waits, in one of the lines of a thread pool. The line is the pool's; the semaphore is what it sleeps
/// on. Who takes a waiter out of its line releases it once, and does not touch it afterwards: it may be gone.
struct Waiter {
    Semaphore semaphore;
    Waiter* next = nullptr;
};

/// One that waits for a free place, and has its task with it.
struct Producer : Waiter {
    Producer(Task& theTask, bool goesFirst) : task(theTask), isFirst(goesFirst) {}

    Task& task;
    bool isFirst; ///< ahead of all that wait
};

/// Who is released when the lock has been left: made before the lock is taken, gone after.
class Wakeups {
public:
    Wakeups() noexcept = default;
    ~Wakeups() {
        while (mFirst) {
            Waiter* const waiter = std::exchange(mFirst, mFirst->next);
            waiter->semaphore.release();
        }
    }
    Wakeups(const Wakeups&) = delete;
    Wakeups& operator=(const Wakeups&) = delete;

    /// Takes the first one of a line.
    void takeFirst(Waiter*& line) noexcept {
        Waiter* const waiter = line;
        line = waiter->next;
        waiter->next = std::exchange(mFirst, waiter);
    }
    void takeAll(Waiter*& line) noexcept {
        while (line)
            takeFirst(line);
    }

private:
    Waiter* mFirst = nullptr;
};

} // namespace Tarq::Common::Threading
