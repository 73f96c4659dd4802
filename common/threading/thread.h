#pragma once

#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/string.h"

#include <array>
#include <concepts>

namespace Tarq::Common::Threading {

class Threaded;

/// The handle of no thread.
inline constexpr void* THREAD_INVALID_HANDLE = nullptr;

/// A handle to a thread: starts one, waits for it, sets its priority.
///
/// The handle is counted together with the running thread: closing it leaves the thread running, and a thread that has
/// ended keeps its exit code as long as a handle to it is open. `join` does not close the handle, so it may be called
/// again.
///
/// A pseudo instance wraps a handle that it does not own and does not close. It counts on its own: made while the
/// thread runs or a handle to it is open, it stays good for as long as it exists.
///
/// What a body throws ends its thread with the exit code `cNoExitCode` and is reported as an assertion, which ends the
/// process unless the host has installed an assertion callback of its own.
///
/// Threads: `join`, `setPriority`, `getPriority` and `getName` on any, several at once; the rest while no other thread
/// uses the instance. The handle is in place before the body runs, so the body may use the instance.
/// Ownership: a few hundred bytes for each thread from `getAllocator()` (the temporary allocator where that one is not
/// safe on several threads), given back when the thread has ended and its handles are closed. The allocator is kept
/// alive for as long, even if the library is closed before. Nothing is thrown.
class TARQ_API Thread : public Memory::MemoryManaged {
public:
    /// Each level is a share of processor time. A process may always lower a thread; to raise one, also back to where
    /// it was, most systems ask for a right that few processes have. Then it is raised as far as the process may go,
    /// without a report. Values in between are kept, and count as the next level towards normal.
    enum ThreadPriority : int {
        TPRIO_IDLE = -15,
        TPRIO_LOWEST = -2,
        TPRIO_BELOW_NORMAL = -1,
        TPRIO_NORMAL = 0,
        TPRIO_ABOVE_NORMAL = 1,
        TPRIO_HIGHEST = 2,
        TPRIO_TIME_CRITICAL = 15,
    };

    /// What `join` returns when there is no exit code to return.
    static constexpr int cNoExitCode = -1;
    /// The characters that are kept of a name.
    static constexpr uint32 cLongestName = 26;

    /// Starts a thread that runs `function(argument)`; what it returns is the exit code.
    ///
    /// `stackSize` is in bytes; less than the platform's default, 0 and negative sizes mean the default. The system's
    /// tools show as much of the name as they have room for.
    /// Asserts "cannot create new thread" when the system refuses, when there is no memory, and for a null function;
    /// there is no handle then.
    Thread(int (*function)(void*), void* argument, const String& name, int stackSize);
    /// The same for a thread that runs `object->run()`; the object keeps the result.
    Thread(Threaded* object, const String& name, int stackSize);
    /// A pseudo instance around `handle`.
    explicit Thread(void* handle);
    /// No object is a handle: what is missing is a name and a stack size.
    template <std::derived_from<Threaded> Object>
    explicit Thread(Object*) = delete;
    /// Closes the handle, unless this is a pseudo instance.
    ~Thread() override;

    /// Whether there is a handle: after the constructors above, whether the thread has been started.
    bool isValid() const noexcept { return mHandle != THREAD_INVALID_HANDLE; }

    /// A pseudo instance for the calling thread, whoever started that.
    static Thread getCurrentThread();
    /// The system's number for the calling thread.
    static int getCurrentID();

    /// Returns the handle and forgets it: the caller now closes it, with `closeReleasedHandle`. What a pseudo instance
    /// returns still belongs to whom it belonged before.
    void* releaseHandle();
    /// Closes what `releaseHandle` has returned. Null is ignored.
    static void closeReleasedHandle(void* handle);
    /// Closes the handle and forgets it; does nothing if there is none.
    ///
    /// Asserts "cannot close pysdo instances of thread classes" on a pseudo instance; it keeps its handle.
    void closeHandle();

    /// Waits without limit for the thread to end and returns its exit code.
    ///
    /// The thread's own static objects are gone by then, if the library has started it.
    /// Asserts "Invalid thread handle" without a handle; "cannot join thread" on the thread itself; "cannot get exit
    /// code from joined thread" for a thread that was cancelled, or that the library did not start and `exit` did not
    /// end. Returns `cNoExitCode` then.
    int join();

    /// Ends the calling thread with `code`; destructors run on the way. Let it pass: a `catch (...)` throws it on, and
    /// no `noexcept` function is in between.
    ///
    /// On the main thread: the process goes on, and ends with 0 when its last thread has ended.
    [[noreturn]] static void exit(int code);
    /// Pauses the calling thread for at least this long; 0 lets another thread run that is ready.
    static void sleep(unsigned int milliseconds);

    /// Asserts "priority out of range" above `TPRIO_TIME_CRITICAL`, and "Invalid thread handle" without a handle;
    /// nothing changes then.
    void setPriority(ThreadPriority priority);
    /// What was set last, `TPRIO_NORMAL` at first. Asserts "Invalid thread handle" without a handle; `TPRIO_NORMAL`.
    ThreadPriority getPriority() const;

    /// The first 26 characters of the thread's name. Empty for a thread that the library did not start, and for a
    /// pseudo instance around a handle.
    const char* getName() const noexcept { return mName.data(); }

private:
    struct Start;
    using Name = std::array<char, cLongestName + 1>;

    Thread(void* handle, const char* name);

    static int runStart(void* argument);
    static void releaseStart(void* argument);
    void start(int (*function)(void*), void* argument, Threaded* object, int stackSize);

    void* mHandle = THREAD_INVALID_HANDLE;
    bool mPsydoInstance = false;
    Name mName;
};

} // namespace Tarq::Common::Threading
