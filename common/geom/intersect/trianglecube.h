#pragma once

#include "common/export.h"
#include "common/math/vec3.h"

namespace Tarq::Common::Geom::Intersect {

/// Whether the triangle and the cube with edges of length `size` have a point in common; touching counts, and being
/// inside. Threads: any.
TARQ_API bool TriangleCube(const Math::Vec3<float>& p0, const Math::Vec3<float>& p1, const Math::Vec3<float>& p2,
                           const Math::Vec3<float>& center, float size) noexcept;
TARQ_API bool TriangleCube(const Math::Vec3<double>& p0, const Math::Vec3<double>& p1, const Math::Vec3<double>& p2,
                           const Math::Vec3<double>& center, double size) noexcept;

} // namespace Tarq::Common::Geom::Intersect
