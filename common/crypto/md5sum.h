#pragma once

#include "common/string.h"

#include <algorithm>
#include <compare>
#include <cstddef>

namespace Tarq::Common::Crypto {

/// An MD5 digest: 16 bytes, in the order in which they are written down.
class MD5Sum {
public:
    static constexpr std::size_t cSize = 16;

    /// All bytes 0.
    MD5Sum() noexcept = default;
    explicit MD5Sum(const uint8 (&bytes)[cSize]) noexcept { std::copy_n(bytes, cSize, mBytes); }

    static constexpr std::size_t size() noexcept { return cSize; }
    uint8* data() noexcept { return mBytes; }
    const uint8* data() const noexcept { return mBytes; }
    const uint8* begin() const noexcept { return mBytes; }
    const uint8* end() const noexcept { return mBytes + cSize; }
    uint8 operator[](std::size_t index) const noexcept { return mBytes[index]; }

    /// 32 lower-case hexadecimal digits.
    String toString() const {
        static constexpr char cDigits[] = "0123456789abcdef";
        String text;
        text.reserve(2 * cSize);
        for (const uint8 byte : mBytes)
            text.append(1, cDigits[byte >> 4]).append(1, cDigits[byte & 15]);
        return text;
    }

    friend bool operator==(const MD5Sum& a, const MD5Sum& b) noexcept = default;
    friend std::strong_ordering operator<=>(const MD5Sum& a, const MD5Sum& b) noexcept = default;

private:
    uint8 mBytes[cSize] = {};
};

} // namespace Tarq::Common::Crypto
