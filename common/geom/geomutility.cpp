#include "common/geom/geomutility.h"

#include "common/debug/assert.h"
#include "common/geom/internal/cheapestsplits.h"
#include "common/geom/internal/rounding.h"

#include <algorithm>

namespace Tarq::Common::Geom::Utility {

using Internal::cross2D;
using Internal::length;
using Math::Vec2;
using Math::Vec3;

namespace {

/// Vectors by component, as many as are made units together.
class UnitBatch {
public:
    static constexpr uint32 cSize = 64;

    void set(uint32 index, const Vec3<float>& v) noexcept {
        mX[index] = v.mX;
        mY[index] = v.mY;
        mZ[index] = v.mZ;
    }
    Vec3<float> get(uint32 index) const noexcept { return {mX[index], mY[index], mZ[index]}; }

    void normalize() noexcept {
        for (uint32 index = 0; index < cSize; ++index) {
            const float lengthOrZero = length(get(index));
            const float divisor = lengthOrZero == 0 ? 1 : lengthOrZero;
            mX[index] /= divisor;
            mY[index] /= divisor;
            mZ[index] /= divisor;
        }
    }

private:
    float mX[cSize]{};
    float mY[cSize]{};
    float mZ[cSize]{};
};

/// Makes units of the vectors that `get` gives for 0 to `count` - 1, and hands them to `put` in their order.
template <class Get, class Put>
void normalizeEach(uint32 count, Get get, Put put) {
    UnitBatch batch;
    for (uint32 first = 0; first < count;) {
        const uint32 size = std::min(UnitBatch::cSize, count - first);
        for (uint32 index = 0; index < size; ++index)
            batch.set(index, get(first + index));
        batch.normalize();
        for (uint32 index = 0; index < size; ++index)
            put(first + index, batch.get(index));
        first += size;
    }
}

Vec3<float> normalized(const Vec3<float>& v) noexcept {
    const float lengthOrZero = length(v);
    return lengthOrZero == 0 ? v : v / lengthOrZero;
}

/// How far `p` is along the segment that starts at `a`: 0 there, 1 at its end.
float positionAlong(const Vec2<float>& a, const Vec2<float>& d, const Vec2<float>& p) noexcept {
    return dot(p - a, d) / dot(d, d);
}

/// The distance of `p` from the line through `a` along `d`.
float distanceFromLine(const Vec2<float>& a, const Vec2<float>& d, const Vec2<float>& p) noexcept {
    return std::abs(cross2D(d, a - p)) / length(d);
}

bool isEachBelow(uint32 limit, const uint32* first, const uint32* last) noexcept {
    bool isEach = true;
    for (; first != last; ++first)
        isEach &= *first < limit;
    return isEach;
}

bool isEachBelow(uint32 limit, const Container::Vector<IndexedTriangle>& triangles) noexcept {
    IndexedTriangle largest;
    for (const IndexedTriangle& triangle : triangles) {
        largest.mA = std::max(largest.mA, triangle.mA);
        largest.mB = std::max(largest.mB, triangle.mB);
        largest.mC = std::max(largest.mC, triangle.mC);
    }
    return triangles.empty() || std::max({largest.mA, largest.mB, largest.mC}) < limit;
}

} // namespace

bool IsPointOnLine2D(const Vec2<float>& a, const Vec2<float>& b, const Vec2<float>& p, float epsilon) noexcept {
    const Vec2<float> d = b - a;
    const float segmentLength = length(d);
    if (segmentLength == 0 || distanceFromLine(a, d, p) > epsilon)
        return false;
    const float t = positionAlong(a, d, p);
    const float overshoot = epsilon / segmentLength;
    return -overshoot <= t && t <= 1 + overshoot;
}

float DistancePointToLine2D(const Vec2<float>& a, const Vec2<float>& b, const Vec2<float>& p) noexcept {
    const Vec2<float> d = b - a;
    const float t = positionAlong(a, d, p);
    if (0 <= t && t <= 1)
        return distanceFromLine(a, d, p);
    return length(p - (t < 0 ? a : b));
}

void GetPlaneCoordSystem(Vec3<float>& u, Vec3<float>& v, const Vec3<float>& normal) {
    const Vec3<float> n = normal;
    uint32 largest = 0;
    for (uint32 component = 1; component < Vec3<float>::cComponents; ++component) {
        if (std::abs(n[component]) > std::abs(n[largest]))
            largest = component;
    }
    const float maxVal = std::abs(n[largest]);
    // What comes out for the zero vector is as good as anything.
    static_cast<void>(TARQ_ASSERT(maxVal > 0));
    Vec3<float> axis;
    axis[(largest + 1) % Vec3<float>::cComponents] = 1;
    const Vec3<float> second = cross(n, axis);
    u = normalized(cross(n, second));
    v = normalized(second);
}

void ComputeMeshNormals(Container::Vector<Vec3<float>>& normals, const Container::Vector<Vec3<float>>& vertices,
                        const Container::Vector<IndexedTriangle>& triangles) {
    const bool isEachVertexThere = isEachBelow(vertices.size(), triangles);
    if (!TARQ_ASSERT(isEachVertexThere, "triangle refers to a vertex that does not exist"))
        return;
    normals.resize(vertices.size());
    std::fill(normals.begin(), normals.end(), Vec3<float>{});
    normalizeEach(
        triangles.size(),
        [&](uint32 index) {
            const IndexedTriangle& triangle = triangles[index];
            const Vec3<float>& corner = vertices[triangle.mA];
            return cross(vertices[triangle.mB] - corner, vertices[triangle.mC] - corner);
        },
        [&](uint32 index, const Vec3<float>& unit) {
            const IndexedTriangle& triangle = triangles[index];
            normals[triangle.mA] += unit;
            normals[triangle.mB] += unit;
            normals[triangle.mC] += unit;
        });
    normalizeEach(
        normals.size(), [&](uint32 index) { return normals[index]; },
        [&](uint32 index, const Vec3<float>& unit) { normals[index] = unit; });
}

void TriangulatePolygon(Container::Vector<uint32>& out, const Container::Vector<uint32>& polygon,
                        const Container::Vector<Vec3<float>>& vertices) {
    const uint32 corners = polygon.size();
    if (!TARQ_ASSERT(corners >= 3, "polygon needs at least three vertices for triangulation"))
        return;
    const bool isEachVertexThere = isEachBelow(vertices.size(), polygon.data(), polygon.data() + corners);
    if (!TARQ_ASSERT(isEachVertexThere, "polygon refers to a vertex that does not exist"))
        return;
    if (corners <= Internal::TrianglesOfFew::cMostCorners) {
        const Internal::TrianglesOfFew triangles(polygon, vertices);
        out.insert(out.end(), triangles.begin(), triangles.end());
        return;
    }
    Internal::Table<float> costs(corners);
    if (!TARQ_ASSERT(costs, "cannot alloc costs array"))
        return;
    Internal::Table<int32> splits(corners);
    if (!TARQ_ASSERT(splits, "cannot alloc min array"))
        return;
    // Two tables with a billion rows do not fit into any memory, so that three indexes for each row can be counted.
    uint32 used = out.size();
    out.insert(out.end(), 3 * (corners - 2), 0);
    Internal::CheapestSplits(costs, splits, polygon, vertices).visitTriangles([&](uint32 i, uint32 k, uint32 j) {
        for (const uint32 corner : {i, k, j})
            out[used++] = polygon[corner];
    });
    out.resize(used);
}

} // namespace Tarq::Common::Geom::Utility
