#pragma once

#include "common/export.h"
#include "common/geom/aabb2d.h"
#include "common/math/vec2.h"

namespace Tarq::Common::Geom::Intersect {

/// Whether the rectangle and the disc have a point in common; touching counts. Threads: any.
TARQ_API bool AABBCircleIntersect(const AABB2D<float>& box, const Math::Vec2<float>& center, float radius) noexcept;

} // namespace Tarq::Common::Geom::Intersect
