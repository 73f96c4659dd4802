#pragma once

#include "common/callback/assertcallback.h"
#include "common/callback/memorycallback.h"
#include "common/export.h"
#include "common/memory/allocatorptr.h"

namespace Tarq::Common {

namespace Debug {
class LogReporter;
}

/// The host's way in and out.
///
/// Counted: every module of a host may bring the library up and take it down; only the first `initLibrary` and the
/// matching last `closeLibrary` do work.
///
/// Threads: `initLibrary` and `closeLibrary` on one thread while no other uses the library; the rest on any.
class TARQ_API Interface {
public:
    /// Brings the library up on the host's memory, or on the global heap when the pointer is empty. When it is up
    /// already, only counts.
    ///
    /// Throws `OutOfMemoryException` when the memory does not suffice; the library is down then.
    static void initLibrary(const Callback::MemoryCallbackPtr& memoryCallback);
    /// Takes the library down, if this call matches the first `initLibrary`. Every object and every allocator pointer
    /// obtained from the library is released before.
    ///
    /// Asserts "Deinit is called to often for: " when the library is down; nothing changes then.
    static void closeLibrary();

    /// The allocator under all others: "Callback" or "Default"; empty while the library is down.
    static const Memory::AllocatorPtr& getGlobalAllocator() noexcept;
    /// The reporter "Common"; null while the library is down.
    static Debug::LogReporter* getLogReporter() noexcept;

    /// Installs what assertions are shown by; independent of the library being up or down. Empty: the default again,
    /// made when it is needed.
    static void setAssertCallback(const Callback::AssertCallbackPtr& callback);
    /// The current callback, never empty: the default is made and installed where there is none.
    ///
    /// Copy it before another thread may install a different one.
    static const Callback::AssertCallbackPtr& getAssertCallback();

    Interface() = delete;
};

} // namespace Tarq::Common
