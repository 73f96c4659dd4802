#pragma once

#include "common/export.h"
#include "common/memory/allocator.h"

#include <cstddef>

namespace Tarq::Common::Memory {

/// Throws `OutOfMemoryException`, message "No Memory available". Works when no allocator has a byte left.
[[noreturn]] TARQ_API void throwOutOfMemory();

/// The long way of `allocateBytes`: the global heap, refusals, exhaustion. Never returns null.
TARQ_API void* allocateBytesSlowly(Allocator* allocator, std::size_t size);

/// Takes bytes from an allocator, or from the global heap when the pointer is empty. Never returns null.
///
/// Throws `OutOfMemoryException` when there are none, also when `size` is more than an allocator can be asked for.
inline void* allocateBytes(const AllocatorPtr& allocator, std::size_t size) {
    if (allocator && size <= 0xFFFFFFFFu) [[likely]] {
        if (void* block = allocator->alloc(static_cast<uint32>(size))) [[likely]]
            return block;
    }
    return allocateBytesSlowly(allocator.get(), size);
}

/// Gives back what `allocateBytes` took with the same pointer. Null is ignored.
inline void releaseBytes(const AllocatorPtr& allocator, void* block) {
    if (!block)
        return;
    if (allocator) [[likely]]
        allocator->free(block);
    else
        ::operator delete(block);
}

} // namespace Tarq::Common::Memory
