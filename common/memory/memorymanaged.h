#pragma once

#include "common/memory/allocatorptr.h"

#include <cstddef>
#include <new>

namespace Tarq::Common::Memory {

/// Base of the library's heap objects: made on an allocator, and given back to it.
///
///     IO::FileStream* stream = new (allocator) IO::FileStream(name, access, mode);
///     delete stream;
///
/// `getAllocator` is where an object takes its buffers from: the allocator that holds the object. An object that lives
/// on the stack or inside another object takes them from the temporary allocator.
///
/// Ownership: whoever made it deletes it, or hands it to a `SharedPtr`.
///
/// A class that is aligned to more than 8 (4 where pointers have 4 bytes) cannot be made on an allocator. Derive from
/// this before any base that holds managed members: the first managed object inside the block is taken for its owner.
class TARQ_API MemoryManaged {
public:
    virtual ~MemoryManaged();
    MemoryManaged(const MemoryManaged&) = delete;
    MemoryManaged& operator=(const MemoryManaged&) = delete;

    const AllocatorPtr& getAllocator() const noexcept { return mAllocator; }

    /// Throws `OutOfMemoryException`. An empty pointer stands for the global heap.
    static void* operator new(std::size_t size, const AllocatorPtr& allocator);
    static void* operator new(std::size_t size, std::align_val_t, const AllocatorPtr& allocator) = delete;
    static void operator delete(void* object, const AllocatorPtr& allocator) noexcept;
    static void operator delete(void* object) noexcept;
    static void* operator new[](std::size_t size) = delete;

protected:
    MemoryManaged();

private:
    AllocatorPtr mAllocator;
};

} // namespace Tarq::Common::Memory
