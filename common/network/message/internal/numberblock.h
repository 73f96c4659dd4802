#pragma once

#include "common/network/message/wireform.h"

#include <cstring>

/// Runs of numbers, in the order of this machine's bytes and in that of messages.
namespace Tarq::Common::Network::Message {

/// What passes through the stack at once, in bytes. A multiple of the size of every number.
inline constexpr uint32 cChunk = 4096;

/// Sixteen bytes of numbers, which a processor turns around at once: the two bytes of every half, and then the halves.
using NumberGroup = uint16 __attribute__((vector_size(16)));

template <std::size_t Size>
NumberGroup turnAround(NumberGroup group) noexcept {
    group = group << 8 | group >> 8;
    if constexpr (Size == 4)
        group = __builtin_shufflevector(group, group, 1, 0, 3, 2, 5, 4, 7, 6);
    else if constexpr (Size == 8)
        group = __builtin_shufflevector(group, group, 3, 2, 1, 0, 7, 6, 5, 4);
    return group;
}

template <std::size_t Size>
void copyNumbers(unsigned char* dst, const unsigned char* src, std::size_t count) noexcept {
    if constexpr (!cIsBigEndian) {
        constexpr std::size_t cGroup = sizeof(NumberGroup);
        for (; count >= cGroup / Size; count -= cGroup / Size, dst += cGroup, src += cGroup) {
            NumberGroup group;
            std::memcpy(&group, src, cGroup);
            group = turnAround<Size>(group);
            std::memcpy(dst, &group, cGroup);
        }
    }
    for (; count != 0; --count, dst += Size, src += Size)
        copyBigEndian<Size>(dst, src);
}

/// Copies numbers of `size` bytes from one order to the other. The places may be the same, and do not overlap
/// otherwise.
inline void copyNumbers(void* dst, const void* src, std::size_t count, uint32 size) noexcept {
    auto* const to = static_cast<unsigned char*>(dst);
    const auto* const from = static_cast<const unsigned char*>(src);
    if (size == 4)
        copyNumbers<4>(to, from, count);
    else if (size == 8)
        copyNumbers<8>(to, from, count);
    else if (size == 2)
        copyNumbers<2>(to, from, count);
    else if (dst != src)
        std::memcpy(dst, src, count);
}

} // namespace Tarq::Common::Network::Message
