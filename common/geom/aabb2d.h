#pragma once

namespace Tarq::Common::Geom {

/// A rectangle whose sides are parallel to the axes.
template <class T>
struct AABB2D {
    T mMinX{};
    T mMinY{};
    T mMaxX{};
    T mMaxY{};

    friend constexpr bool operator==(const AABB2D&, const AABB2D&) = default;
};
static_assert(sizeof(AABB2D<float>) == 4 * sizeof(float));

} // namespace Tarq::Common::Geom
