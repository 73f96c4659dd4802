#pragma once

#include "common/memory/allocator.h"

namespace Tarq::Common::Memory {

/// The allocator that has something left when the others do not: it tries the exception allocator (the global heap
/// while the library is down), then a reserve that the library keeps for out-of-memory exceptions. `alloc` then tries
/// the global heap; when that has nothing either, it asserts and ends the process. `tryAlloc` is null instead.
///
/// Never throws. Threads: any.
const AllocatorPtr& getReserveAllocator() noexcept;

/// While one is in scope, the reserve allocator does not ask the exception allocator on this thread: no lock is entered
/// but the reserve's own, which waits for nobody.
class ReserveOnly {
public:
    ReserveOnly() noexcept;
    ~ReserveOnly();
    ReserveOnly(const ReserveOnly&) = delete;
    ReserveOnly& operator=(const ReserveOnly&) = delete;

private:
    bool mWasInScope;
};

} // namespace Tarq::Common::Memory
