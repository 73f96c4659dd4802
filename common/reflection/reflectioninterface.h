#pragma once

#include "common/export.h"
#include "common/reflection/datatype/datatypemanager.h"
#include "common/reflection/datatype/datatypes.h"

namespace Tarq::Common::Reflection {

/// Keeps the one manager of data types that the library, its host and their other modules share.
///
/// Threads: `init` and `close` belong to one thread, while nobody uses the manager.
class TARQ_API ReflectionInterface {
public:
    /// Counts, and makes the built-in types known in the calling module. The first call keeps `manager` and registers
    /// the built-in types there; a later one keeps to that manager.
    ///
    /// Asserts that `manager` is not empty; nothing is counted otherwise. Throws `OutOfMemoryException`, and does not
    /// count then.
    TARQ_LOCAL static void init(const Datatype::DatatypeManagerPtr& manager) {
        if (!keep(manager))
            return;
        try {
            Datatype::registerDebuggerDatatypes(getDatatypeManager());
        } catch (...) {
            close();
            throw;
        }
    }
    /// Undoes one `init`; the last one lets go of the manager. Asserts that there is one to undo; nothing happens
    /// otherwise.
    static void close();

    /// Empty before the first `init` and after the last `close`.
    static const Datatype::DatatypeManagerPtr& getDatatypeManager() noexcept;
    /// The manager's allocator; empty without a manager.
    static const Memory::AllocatorPtr& getMemoryAllocator() noexcept;

private:
    static bool keep(const Datatype::DatatypeManagerPtr& manager);
};

} // namespace Tarq::Common::Reflection
