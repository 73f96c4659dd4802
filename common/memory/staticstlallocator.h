#pragma once

#include "common/memory/allocate.h"

#include <cstddef>
#include <limits>
#include <new>

namespace Tarq::Common::Memory {

/// Lets standard containers and streams take their memory from the allocator that `Getter` returns.
///
/// All adapters of one `Getter` are equal; what one took another may give back, as long as the getter returns the same
/// allocator at both times.
///
/// Fails as the standard library expects, with `std::bad_alloc`.
template <class T, const AllocatorPtr& (*Getter)()>
class StaticSTLAllocator {
public:
    using value_type = T;
    template <class Other>
    struct rebind { // NOLINT(readability-identifier-naming): the name that the standard library asks for
        using other = StaticSTLAllocator<Other, Getter>;
    };

    constexpr StaticSTLAllocator() noexcept = default;
    template <class Other>
    constexpr StaticSTLAllocator(const StaticSTLAllocator<Other, Getter>&) noexcept {}

    T* allocate(std::size_t count) {
        static_assert(alignof(T) <= 8, "allocators align to 8");
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(allocateBytesOrBadAlloc(Getter(), count * sizeof(T)));
    }
    void deallocate(T* elements, std::size_t) { releaseBytes(Getter(), elements); }

    template <class Other>
    friend bool operator==(const StaticSTLAllocator&, const StaticSTLAllocator<Other, Getter>&) noexcept {
        return true;
    }
};

} // namespace Tarq::Common::Memory
