#pragma once

#include "common/types.h"

#include <cstddef>
#include <cstring>

namespace Tarq::Common::IO {

/// From 1 byte to 4 GiB - 1: what a stream's short way can move in one piece.
constexpr bool isSingleRequest(uint64 numBytes) noexcept {
    return numBytes - 1 < 0xFFFFFFFF;
}

/// Copies the sizes of plain values in place, also where the compiler does not know the size.
inline void copyShort(void* dst, const void* src, uint64 numBytes) noexcept {
    switch (numBytes) {
    case 1:
        std::memcpy(dst, src, 1);
        return;
    case 2:
        std::memcpy(dst, src, 2);
        return;
    case 4:
        std::memcpy(dst, src, 4);
        return;
    case 8:
        std::memcpy(dst, src, 8);
        return;
    default:
        std::memcpy(dst, src, static_cast<std::size_t>(numBytes));
    }
}

} // namespace Tarq::Common::IO
