#pragma once

#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/types.h"

#include <atomic>

namespace Tarq::Common::Threading {

/// An object with a thread body of its own. Hand it to a `Thread`, and keep it until that thread has ended.
///
/// Threads: `run` is called on the new thread. One object may be run again, or by several threads.
class TARQ_API Threaded : public Memory::MemoryManaged {
public:
    ~Threaded() override;

    /// The body. What it returns is the result and the thread's exit code.
    virtual int32 run() = 0;

    /// What `run` returned last; 0 before the first time, `Thread::cNoExitCode` if something thrown has left it. Stored
    /// before the thread has ended, and not stored if the thread was ended by `Thread::exit`.
    int32 getResult() const noexcept { return mResult.load(std::memory_order_acquire); }

protected:
    Threaded() = default;

private:
    friend class Thread;

    std::atomic<int32> mResult{0};
};

} // namespace Tarq::Common::Threading
