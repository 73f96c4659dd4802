#pragma once

#include <bit>
#include <concepts>
#include <cstring>

namespace Tarq::Common::Platform {

/// The byte order of the machine, and of stored data.
class Endian {
public:
    /// The values stand in files; keep them.
    enum Endiness { ENDIAN_BIG = 0, ENDIAN_LITTLE = 1 };

    static constexpr Endiness getSystemEncoding() noexcept {
        return std::endian::native == std::endian::little ? ENDIAN_LITTLE : ENDIAN_BIG;
    }
};

/// From this machine's order of bytes to big-endian, or back.
template <std::unsigned_integral T>
constexpr T toBigEndian(T number) noexcept {
    if constexpr (Endian::getSystemEncoding() == Endian::ENDIAN_BIG || sizeof(T) == 1)
        return number;
    else if constexpr (sizeof(T) == 2)
        return __builtin_bswap16(number);
    else if constexpr (sizeof(T) == 4)
        return __builtin_bswap32(number);
    else
        return __builtin_bswap64(number);
}

/// The number whose big-endian bytes these are.
template <std::unsigned_integral T>
T loadBigEndian(const void* bytes) noexcept {
    T number;
    std::memcpy(&number, bytes, sizeof(T));
    return toBigEndian(number);
}

/// Returns where the next bytes go.
template <std::unsigned_integral T>
unsigned char* storeBigEndian(unsigned char* bytes, T number) noexcept {
    number = toBigEndian(number);
    std::memcpy(bytes, &number, sizeof(T));
    return bytes + sizeof(T);
}

} // namespace Tarq::Common::Platform
