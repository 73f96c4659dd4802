#pragma once

#include <cstddef>

namespace Tarq::Common::Reflection::Function {

/// No type asks for more alignment than this. Allocators give as much, or 4 where pointers have 4 bytes.
inline constexpr std::size_t cLargestAlignment = 8;

/// Where the next part of a block begins, so that it is aligned as well as the block.
constexpr std::size_t roundedUp(std::size_t size) {
    return (size + cLargestAlignment - 1) / cLargestAlignment * cLargestAlignment;
}

} // namespace Tarq::Common::Reflection::Function
