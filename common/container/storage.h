#pragma once

#include "common/memory/allocate.h"

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace Tarq::Common::Container {

/// Takes room for `count` elements, all of it uninitialised. Throws what `Memory::allocateBytes` throws.
template <class T>
T* takeStorage(const Memory::AllocatorPtr& allocator, std::size_t count = 1) {
    static_assert(alignof(T) <= 8, "allocators align to 8");
    return static_cast<T*>(Memory::allocateBytes(allocator, count * sizeof(T)));
}

/// Makes a single object. When its constructor throws, its bytes have gone back.
template <class T, class... Arguments>
T* makeNode(const Memory::AllocatorPtr& allocator, Arguments&&... arguments) {
    T* const storage = takeStorage<T>(allocator);
    try {
        return ::new (static_cast<void*>(storage)) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
        Memory::releaseBytes(allocator, storage);
        throw;
    }
}

/// Destroys what `makeNode` made with the same allocator.
template <class T>
void destroyNode(const Memory::AllocatorPtr& allocator, T* node) noexcept {
    std::destroy_at(node);
    Memory::releaseBytes(allocator, node);
}

} // namespace Tarq::Common::Container
