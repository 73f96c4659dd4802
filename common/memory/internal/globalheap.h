#pragma once

#include "common/memory/allocatorptr.h"

namespace Tarq::Common::Memory {

/// Returns `allocator`, or in the place of an empty pointer an allocator on the global heap: one for the whole process,
/// which never goes. Threads: any.
const AllocatorPtr& orGlobalHeap(const AllocatorPtr& allocator) noexcept;

} // namespace Tarq::Common::Memory
