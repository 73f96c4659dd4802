#pragma once

#include "common/types.h"

namespace Tarq::Common::Geom {

/// A triangle of a mesh: three indexes into the list of the mesh's vertices, counter-clockwise seen from outside.
struct IndexedTriangle {
    uint32 mA = 0;
    uint32 mB = 0;
    uint32 mC = 0;

    /// 0 is `mA`, 1 is `mB`; any other index is `mC`.
    constexpr uint32& operator[](uint32 corner) noexcept { return corner == 0 ? mA : corner == 1 ? mB : mC; }
    constexpr const uint32& operator[](uint32 corner) const noexcept {
        return corner == 0 ? mA : corner == 1 ? mB : mC;
    }

    friend constexpr bool operator==(const IndexedTriangle&, const IndexedTriangle&) = default;
};
static_assert(sizeof(IndexedTriangle) == 3 * sizeof(uint32));

} // namespace Tarq::Common::Geom
