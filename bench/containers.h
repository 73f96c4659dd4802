#pragma once

#include "common/library.h"

#include <type_traits>

namespace Tarq::Bench {

/// An empty container: ours over the library's temporary allocator, a standard one over the global heap.
template <class Container>
Container makeContainer() {
    if constexpr (std::is_constructible_v<Container, const Common::Memory::AllocatorPtr&>)
        return Container(Common::Library::getTempAlloc());
    else
        return Container();
}

} // namespace Tarq::Bench
