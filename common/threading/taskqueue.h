#pragma once

#include "common/threading/task.h"

#include <utility>

namespace Tarq::Common::Threading {

/// Tasks in the order in which they are to run, linked through the tasks themselves: queueing takes no memory, so it
/// cannot fail.
///
/// Threads: one at a time. Ownership: none; who takes a task out has it.
class TaskQueue {
public:
    bool empty() const noexcept { return !mFirst; }

    void append(Task& task) noexcept {
        task.mNext = nullptr;
        (mFirst ? mLast->mNext : mFirst) = &task;
        mLast = &task;
    }
    void prepend(Task& task) noexcept {
        if (!mFirst)
            mLast = &task;
        task.mNext = std::exchange(mFirst, &task);
    }
    /// The queue is not empty.
    Task* takeFirst() noexcept { return std::exchange(mFirst, mFirst->mNext); }

    /// Deletes them all, the last one first. No destructor finds this queue in a state of its own: it is empty by then.
    void deleteAll() noexcept {
        TaskQueue reversed;
        while (!empty())
            reversed.prepend(*takeFirst());
        while (!reversed.empty())
            delete reversed.takeFirst();
    }

private:
    Task* mFirst = nullptr;
    Task* mLast = nullptr; ///< of no meaning while there is no first
};

} // namespace Tarq::Common::Threading
