#pragma once

#include "common/types.h"

#include <cstring>

namespace Tarq::Common::IO {

/// The largest size that `copyShort` copies: that of the plain values.
inline constexpr uint64 cLongestShortCopy = 8;

/// Copies up to 8 bytes without a call, also where the compiler does not know the size.
inline void copyShort(void* dst, const void* src, uint64 numBytes) noexcept {
    auto* const to = static_cast<unsigned char*>(dst);
    const auto* const from = static_cast<const unsigned char*>(src);
    // The most frequent sizes first: a table of jumps would cost more than the copy.
    if (numBytes == 4) {
        std::memcpy(to, from, 4);
    } else if (numBytes == 8) {
        std::memcpy(to, from, 8);
    } else if (numBytes > 4) {
        unsigned char front[4];
        std::memcpy(front, from, 4);
        std::memcpy(to + numBytes - 4, from + numBytes - 4, 4);
        std::memcpy(to, front, 4);
    } else if (numBytes >= 2) {
        unsigned char front[2];
        std::memcpy(front, from, 2);
        std::memcpy(to + numBytes - 2, from + numBytes - 2, 2);
        std::memcpy(to, front, 2);
    } else if (numBytes == 1) {
        *to = *from;
    }
}

} // namespace Tarq::Common::IO
