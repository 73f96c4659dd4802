#pragma once

#include "common/math/vec2.h"
#include "common/math/vec3.h"

#include <cfloat>
#include <cmath>

/// Included by every source of this room: results are promised to the last bit.
static_assert(FLT_EVAL_METHOD == 0,
              "floats must be rounded after every operation; on 32-bit x86 that takes -msse2 -mfpmath=sse");

namespace Tarq::Common::Geom::Internal {

template <class Vec>
typename Vec::Component length(const Vec& v) noexcept {
    return std::sqrt(dot(v, v));
}

/// The z component of the cross product in space.
template <class T>
T cross2D(const Math::Vec2<T>& a, const Math::Vec2<T>& b) noexcept {
    return a.mX * b.mY - a.mY * b.mX;
}

} // namespace Tarq::Common::Geom::Internal
