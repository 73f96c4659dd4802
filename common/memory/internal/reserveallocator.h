#pragma once

#include "common/memory/allocator.h"

namespace Tarq::Common::Memory {

/// The allocator that has something left when the others do not: it tries the exception allocator (the global heap
/// while the library is down), and then a reserve that the library keeps for out-of-memory exceptions.
///
/// Never asserts and never throws. Threads: any.
const AllocatorPtr& getReserveAllocator() noexcept;

} // namespace Tarq::Common::Memory
