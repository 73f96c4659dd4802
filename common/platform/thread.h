#pragma once

#include "common/types.h"

#include <cstddef>
#include <optional>

namespace Tarq::Common::Platform {

/// The system's threads. A thread object tells about one thread; it lives as long as the thread runs, a handle to it is
/// open, or somebody waits for it.
using ThreadHandle = void*;

/// What a new thread does, and what the caller keeps for it.
struct ThreadStart {
    /// The body; what it returns is the exit code. It does not throw, but the end of the thread may pass through it.
    int (*function)(void* argument);
    void* argument;
    /// Shown by the system's tools as far as it fits; unnamed when empty. Lasts until `release`.
    const char* name;
    /// At least this much stack; the platform's default if that is more.
    std::size_t stackSize;
    /// `getThreadObjectSize` bytes for the thread object, aligned for pointers.
    void* memory;
    /// Called once, on any thread, when neither `memory` nor `argument` nor `name` is needed any more.
    void (*release)(void* argument);
};

std::size_t getThreadObjectSize() noexcept;

/// Starts a thread and stores a handle to it, before the body runs. Returns false, and takes nothing over, if the
/// system refuses.
bool startThread(const ThreadStart& start, ThreadHandle& handle) noexcept;
/// Opens a handle that is good once more: it is to be closed once more.
void openThread(ThreadHandle handle) noexcept;
/// Closes a handle; the thread is not affected.
void closeThread(ThreadHandle handle) noexcept;

/// The calling thread, also if somebody else started it: a handle that is good as long as the thread runs, and not
/// open. Null if there is no memory for one, or if the thread is all but over.
ThreadHandle getCurrentThread() noexcept;
/// The system's number for the calling thread.
int getCurrentThreadID() noexcept;

/// Waits without limit until the thread has ended, and stores its exit code: none if it was cancelled, or if somebody
/// else started it and keeps the code. Returns false if it cannot wait, as on the thread itself.
///
/// The handle may be closed meanwhile.
bool waitForThread(ThreadHandle handle, std::optional<int>& exitCode);

/// Ends the calling thread. Destructors run; `catch (...)` sees it.
[[noreturn]] void exitThread(int code);
/// For use in `catch (...)`: lets the end of the thread go on, if it is what was caught; returns otherwise.
void resumeThreadEnd();

/// -15 (idle) to 15 (time-critical), 0 is normal. Applied as far as the process may go.
void setThreadPriority(ThreadHandle handle, int priority) noexcept;
/// What was set last.
int getThreadPriority(ThreadHandle handle) noexcept;

/// Pauses the calling thread, interruptions not counted; 0 lets another thread run that is ready.
void sleepThread(uint32 milliseconds) noexcept;

} // namespace Tarq::Common::Platform
