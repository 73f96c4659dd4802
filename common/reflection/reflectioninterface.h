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
    /// Counts, and makes the built-in types known in the calling module. The first call registers them with `manager`
    /// and keeps that; a later one keeps to the first one's, whatever it is given.
    ///
    /// Asserts, as `registerDebuggerDatatypes` does, that the first one's `manager` is not empty, and that the types
    /// are not those of another manager; nothing is counted and kept otherwise. Throws `OutOfMemoryException`, and does
    /// not count then; another call with that manager goes on from there. Returns whether it has counted.
    TARQ_LOCAL static bool init(const Datatype::DatatypeManagerPtr& manager) {
        const Datatype::DatatypeManagerPtr& kept = getDatatypeManager();
        if (!Datatype::registerDebuggerDatatypes(kept ? kept : manager))
            return false;
        count(manager);
        return true;
    }
    /// Undoes one `init`; the last one lets go of the manager, and comes before `Interface::closeLibrary`. Asserts that
    /// there is one to undo; nothing happens otherwise.
    static void close();

    /// Empty before the first `init` and after the last `close`. This is the pointer that is kept; `close` empties it
    /// for whoever refers to it.
    static const Datatype::DatatypeManagerPtr& getDatatypeManager() noexcept;
    /// The manager's allocator; empty without a manager.
    static const Memory::AllocatorPtr& getMemoryAllocator() noexcept;

private:
    /// Keeps the manager if it is the first one.
    static void count(const Datatype::DatatypeManagerPtr& manager) noexcept;
};

} // namespace Tarq::Common::Reflection
