#include "common/geom/intersect/aabbcircleintersect.h"

#include "common/geom/internal/rounding.h"

namespace Tarq::Common::Geom::Intersect {

bool AABBCircleIntersect(const AABB2D<float>& box, const Math::Vec2<float>& center, float radius) noexcept {
    const float halfX = (box.mMaxX - box.mMinX) * 0.5f;
    const float halfY = (box.mMaxY - box.mMinY) * 0.5f;
    const float distanceX = std::abs(center.mX - box.mMinX - halfX);
    const float distanceY = std::abs(center.mY - box.mMinY - halfY);
    if (distanceX > halfX + radius || distanceY > halfY + radius)
        return false;
    if (distanceX <= halfX || distanceY <= halfY)
        return true;
    return Internal::length(Math::Vec2<float>{distanceX - halfX, distanceY - halfY}) <= radius;
}

} // namespace Tarq::Common::Geom::Intersect
