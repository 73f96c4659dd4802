#pragma once

#include <bit>

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

} // namespace Tarq::Common::Platform
