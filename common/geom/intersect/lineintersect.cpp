#include "common/geom/intersect/lineintersect.h"

#include "common/debug/assert.h"
#include "common/geom/internal/rounding.h"

namespace Tarq::Common::Geom::Intersect {

using Internal::cross2D;
using Math::Vec2;

namespace {

template <class T>
bool isParallel(T denominator) noexcept {
    constexpr T cSmallest = static_cast<T>(0.0001);
    return -cSmallest < denominator && denominator < cSmallest;
}

template <class T>
bool intersectRay(T& t, const Vec2<T>& origin, const Vec2<T>& dir, const Vec2<T>& a, const Vec2<T>& b) noexcept {
    const Vec2<T> e = b - a;
    const Vec2<T> w = origin - a;
    const T denominator = cross2D(dir, e);
    if (isParallel(denominator))
        return false;
    t = cross2D(e, w) / denominator;
    const double s = cross2D(dir, w) / denominator;
    return t >= 0 && -0.0001 <= s && s <= 1.0001;
}

} // namespace

bool LineLine(float& t1, float& t2, const Vec2<float>& a1, const Vec2<float>& a2, const Vec2<float>& b1,
              const Vec2<float>& b2) noexcept {
    const Vec2<float> d1 = a2 - a1;
    const Vec2<float> d2 = b2 - b1;
    const Vec2<float> w = a1 - b1;
    const float denominator = cross2D(d1, d2);
    if (isParallel(denominator))
        return false;
    t1 = cross2D(d2, w) / denominator;
    t2 = cross2D(d1, w) / denominator;
    return 0 <= t1 && t1 <= 1 && 0 <= t2 && t2 <= 1;
}

bool LineLine(const Vec2<float>& a1, const Vec2<float>& a2, const Vec2<float>& b1, const Vec2<float>& b2) noexcept {
    float t1 = 0;
    float t2 = 0;
    return LineLine(t1, t2, a1, a2, b1, b2);
}

bool LineRay(float& t, const Vec2<float>& origin, const Vec2<float>& dir, const Vec2<float>& a, const Vec2<float>& b) {
    static_cast<void>(TARQ_ASSERT(!(dir.mX == 0.0f && dir.mY == 0.0f), "direction is of length zero"));
    return intersectRay(t, origin, dir, a, b);
}

bool LineRay(double& t, const Vec2<double>& origin, const Vec2<double>& dir, const Vec2<double>& a,
             const Vec2<double>& b) {
    static_cast<void>(TARQ_ASSERT(!(dir.mX == 0.0 && dir.mY == 0.0), "direction is of length zero"));
    return intersectRay(t, origin, dir, a, b);
}

} // namespace Tarq::Common::Geom::Intersect
