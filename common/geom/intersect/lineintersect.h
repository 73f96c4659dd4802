#pragma once

#include "common/export.h"
#include "common/math/vec2.h"

/// Intersections of lines and of simple shapes. Threads: any.
namespace Tarq::Common::Geom::Intersect {

/// Whether the segments from `a1` to `a2` and from `b1` to `b2` have a point in common. Parallel ones have none, even
/// if they lie upon each other; those count as parallel whose lengths and the sine between them make a product below
/// 0.0001.
TARQ_API bool LineLine(const Math::Vec2<float>& a1, const Math::Vec2<float>& a2, const Math::Vec2<float>& b1,
                       const Math::Vec2<float>& b2) noexcept;

/// Gives too where the lines cross: at a1 + t1 * (a2 - a1) = b1 + t2 * (b2 - b1), also beyond the segments' ends, where
/// the result is false. Writes nothing for parallel ones.
TARQ_API bool LineLine(float& t1, float& t2, const Math::Vec2<float>& a1, const Math::Vec2<float>& a2,
                       const Math::Vec2<float>& b1, const Math::Vec2<float>& b2) noexcept;

/// Whether the ray from `origin` along `dir` hits the segment from `a` to `b`, which reaches further by 0.0001 of its
/// length at either end. The ray's line meets the segment's at origin + t * dir, also where the result is false; `t` is
/// not written when they are parallel (see `LineLine`).
///
/// Asserts "direction is of length zero"; nothing is hit then.
TARQ_API bool LineRay(float& t, const Math::Vec2<float>& origin, const Math::Vec2<float>& dir,
                      const Math::Vec2<float>& a, const Math::Vec2<float>& b);
TARQ_API bool LineRay(double& t, const Math::Vec2<double>& origin, const Math::Vec2<double>& dir,
                      const Math::Vec2<double>& a, const Math::Vec2<double>& b);

} // namespace Tarq::Common::Geom::Intersect
