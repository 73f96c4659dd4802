#pragma once

#include "common/export.h"
#include "common/memory/allocatorptr.h"

namespace Tarq::Common {

namespace Debug {
class LogReporter;
}

/// The inner frame: the allocators by role, and the logging. `Interface` brings it up for a host; a host that has an
/// allocator of its own may drive it directly, and then leaves `Interface` alone.
///
/// Threads: `init` and `close` on one thread while no other uses the library; the getters on any.
class TARQ_API Library {
public:
    /// Builds one free-list allocator over `allocator` for all four roles, and the log manager with the reporter
    /// "Common". Once, until `close`.
    ///
    /// A second call asserts "there is already an instance of this singleton object"; the log manager stays, and the
    /// library has no reporter from then on. Throws `OutOfMemoryException`, and `ArgumentNullException` for an empty
    /// pointer; everything is as before then.
    static void init(const Memory::AllocatorPtr& allocator);
    /// Undoes `init`, in reverse. Everything made on the library's allocators is released before.
    static void close();

    // The allocators by role. Ask for the role you mean; empty while the library is down, which stands for the global
    // heap wherever an allocator pointer is taken.

    /// Logging and the buffers of message formatting.
    static const Memory::AllocatorPtr& getDebugAlloc() noexcept;
    /// Exceptions.
    static const Memory::AllocatorPtr& getExceptionAlloc() noexcept;
    /// Strings.
    static const Memory::AllocatorPtr& getStringAlloc() noexcept;
    /// Scratch data.
    static const Memory::AllocatorPtr& getTempAlloc() noexcept;

    /// The reporter "Common"; null while the library is down. Report through `Debug::report`, which knows that.
    static Debug::LogReporter* getLogReporter() noexcept;

    Library() = delete;
};

} // namespace Tarq::Common
