#include "common/geom/intersect/trianglecube.h"

#include "common/geom/internal/rounding.h"

#include <algorithm>

/// Two convex bodies are apart exactly when one of these axes sees them apart: those of the cube, the triangle's
/// normal, and what is perpendicular to an edge of each. All must agree, so that the cheap ones, which tell most pairs
/// apart, come first.
namespace Tarq::Common::Geom::Intersect {

using Math::Vec3;

namespace {

template <class T>
bool isApartOnCubeAxes(const Vec3<T>& q0, const Vec3<T>& q1, const Vec3<T>& q2, T half) noexcept {
    const auto isApart = [half](T a, T b, T c) { return std::min({a, b, c}) > half || std::max({a, b, c}) < -half; };
    return isApart(q0.mX, q1.mX, q2.mX) || isApart(q0.mY, q1.mY, q2.mY) || isApart(q0.mZ, q1.mZ, q2.mZ);
}

/// The axes are the edge's cross products with x, y and z; a corner's places on the three are its cross product with
/// the edge. Both ends of the edge are at the same place, so that one of them stands for both.
template <class T>
bool isApartOnEdgeAxes(const Vec3<T>& edge, const Vec3<T>& end, const Vec3<T>& opposite, T half) noexcept {
    const Vec3<T> a = cross(end, edge);
    const Vec3<T> b = cross(opposite, edge);
    const Vec3<T> extent{std::abs(edge.mX), std::abs(edge.mY), std::abs(edge.mZ)};
    const auto isApart = [](T first, T second, T radius) {
        return std::min(first, second) > radius || std::max(first, second) < -radius;
    };
    return isApart(a.mX, b.mX, half * (extent.mY + extent.mZ)) || isApart(a.mY, b.mY, half * (extent.mX + extent.mZ)) ||
           isApart(a.mZ, b.mZ, half * (extent.mX + extent.mY));
}

/// Looks at the two corners of the cube that are the farthest along the normal and against it.
template <class T>
bool isPlaneInCube(const Vec3<T>& normal, const Vec3<T>& point, T half) noexcept {
    Vec3<T> low;
    Vec3<T> high;
    for (uint32 component = 0; component < Vec3<T>::cComponents; ++component) {
        const T reach = normal[component] > 0 ? half : -half;
        low[component] = -reach - point[component];
        high[component] = reach - point[component];
    }
    return !(dot(normal, low) > 0) && dot(normal, high) >= 0;
}

template <class T>
bool overlaps(const Vec3<T>& p0, const Vec3<T>& p1, const Vec3<T>& p2, const Vec3<T>& center, T size) noexcept {
    const T half = size * static_cast<T>(0.5);
    const Vec3<T> q0 = p0 - center;
    const Vec3<T> q1 = p1 - center;
    const Vec3<T> q2 = p2 - center;
    if (isApartOnCubeAxes(q0, q1, q2, half))
        return false;
    const Vec3<T> e0 = q1 - q0;
    const Vec3<T> e1 = q2 - q1;
    const Vec3<T> e2 = q0 - q2;
    return isPlaneInCube(cross(e0, e1), q0, half) && !isApartOnEdgeAxes(e0, q0, q2, half) &&
           !isApartOnEdgeAxes(e1, q1, q0, half) && !isApartOnEdgeAxes(e2, q2, q1, half);
}

} // namespace

bool TriangleCube(const Vec3<float>& p0, const Vec3<float>& p1, const Vec3<float>& p2, const Vec3<float>& center,
                  float size) noexcept {
    return overlaps(p0, p1, p2, center, size);
}

bool TriangleCube(const Vec3<double>& p0, const Vec3<double>& p1, const Vec3<double>& p2, const Vec3<double>& center,
                  double size) noexcept {
    return overlaps(p0, p1, p2, center, size);
}

} // namespace Tarq::Common::Geom::Intersect
