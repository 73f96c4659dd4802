#pragma once

#include "common/export.h"
#include "common/memory/allocator.h"

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

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

/// `allocateBytes` for the standard library, which expects `std::bad_alloc`: its streams swallow whatever is thrown,
/// and a pointer with it that somebody has to delete.
TARQ_API void* allocateBytesOrBadAlloc(const AllocatorPtr& allocator, std::size_t size);

/// Makes an allocator of class `T` in memory of `owner`, to which its bytes go back; on the global heap when empty.
///
/// `arguments` are those of `T`'s constructor, up to the owner, which is its last one. Throws `OutOfMemoryException`.
template <class T, class... Arguments>
AllocatorPtr makeAllocator(const AllocatorPtr& owner, Arguments&&... arguments) {
    static_assert(std::is_nothrow_constructible_v<T, Arguments..., const AllocatorPtr&>);
    return AllocatorPtr(::new (allocateBytes(owner, sizeof(T))) T(std::forward<Arguments>(arguments)..., owner));
}

/// Bytes of `allocateBytes`, for as long as the scope lasts.
class ScopedBytes {
public:
    ScopedBytes(const AllocatorPtr& allocator, std::size_t size)
        : mAllocator(allocator), mBytes(allocateBytes(allocator, size)) {}
    ~ScopedBytes() { releaseBytes(mAllocator, mBytes); }
    ScopedBytes(const ScopedBytes&) = delete;
    ScopedBytes& operator=(const ScopedBytes&) = delete;

    void* get() const noexcept { return mBytes; }

private:
    AllocatorPtr mAllocator;
    void* mBytes;
};

} // namespace Tarq::Common::Memory
