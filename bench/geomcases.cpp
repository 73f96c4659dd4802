#include "bench/cases.h"
#include "common/geom/geomutility.h"
#include "common/geom/intersect/trianglecube.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

// The peers are the same computations as a book would write them.

namespace Tarq::Bench {

namespace {

using namespace Common::Geom;
using Common::int32;
using Common::Container::Vector;
using Common::Math::Vec3f;
using Indexes = Vector<uint32>;
using Vertices = Vector<Vec3f>;
using Triangles = Vector<IndexedTriangle>;

constinit const Common::Memory::AllocatorPtr cGlobalHeap;

float length(const Vec3f& v) {
    return std::sqrt(dot(v, v));
}

Vec3f normalized(const Vec3f& v) {
    const float lengthOrZero = length(v);
    return lengthOrZero == 0 ? v : v / lengthOrZero;
}

/// The recursion that remembers what it has computed.
class PlainTriangulation {
public:
    PlainTriangulation(Indexes& out, const Indexes& polygon, const Vertices& vertices)
        : mOut(out), mPolygon(polygon), mVertices(vertices), mCosts(std::size_t{polygon.size()} * polygon.size(), -1),
          mSplits(mCosts.size(), -1) {
        computeCost(0, polygon.size() - 1);
        emit(0, polygon.size() - 1);
    }

private:
    std::size_t entry(uint32 i, uint32 j) const { return std::size_t{j} * mPolygon.size() + i; }
    const Vec3f& corner(uint32 index) const { return mVertices[mPolygon[index]]; }
    static float perimeter(const Vec3f& a, const Vec3f& b, const Vec3f& c) {
        return length(c - a) + length(b - c) + length(a - b);
    }

    float computeCost(uint32 i, uint32 j) {
        float& stored = mCosts[entry(i, j)];
        if (stored >= 0)
            return stored;
        if (j < i + 2)
            return stored = 0;
        float best = std::numeric_limits<float>::max();
        for (uint32 k = i + 1; k < j; ++k) {
            const float cost = perimeter(corner(j), corner(i), corner(k)) + (computeCost(k, j) + computeCost(i, k));
            if (cost < best) {
                best = cost;
                mSplits[entry(i, j)] = static_cast<int32>(k);
            }
        }
        return stored = best;
    }
    void emit(uint32 i, uint32 j) {
        for (int32 split = mSplits[entry(i, j)]; split >= 0; split = mSplits[entry(i, j)]) {
            const auto k = static_cast<uint32>(split);
            for (const uint32 index : {i, k, j})
                mOut.push_back(mPolygon[index]);
            emit(i, k);
            i = k;
        }
    }

    Indexes& mOut;
    const Indexes& mPolygon;
    const Vertices& mVertices;
    std::vector<float> mCosts;
    std::vector<int32> mSplits;
};

void triangulatePlainly(Indexes& out, const Indexes& polygon, const Vertices& vertices) {
    PlainTriangulation(out, polygon, vertices);
}

/// A star, with corners that are a little off.
Vertices makePolygon(uint32 corners) {
    std::mt19937 random(corners);
    Vertices vertices(cGlobalHeap, corners);
    for (uint32 index = 0; index < corners; ++index) {
        const double angle = 2 * std::numbers::pi * index / corners;
        const double radius = (index % 2 == 0 ? 10 : 6) + static_cast<double>(random() % 100) * 0.01;
        vertices[index] = {static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle)),
                           static_cast<float>(random() % 100) * 0.01f};
    }
    return vertices;
}

template <auto Triangulate>
void triangulate(benchmark::State& state, uint32 corners) {
    const Vertices vertices = makePolygon(corners);
    Indexes polygon(cGlobalHeap, corners);
    for (uint32 index = 0; index < corners; ++index)
        polygon[index] = index;
    Indexes expected(cGlobalHeap);
    triangulatePlainly(expected, polygon, vertices);
    Indexes out(cGlobalHeap);
    for (auto _ : state) {
        out.clear();
        Triangulate(out, polygon, vertices);
    }
    check(out.size() == 3 * (corners - 2) && std::ranges::equal(out, expected), "other triangles");
}

/// A hilly field of 200 × 200 squares.
struct Field {
    static constexpr uint32 cSide = 200;
    static constexpr uint32 cTriangles = 2 * cSide * cSide;

    Field() {
        for (uint32 y = 0; y <= cSide; ++y) {
            for (uint32 x = 0; x <= cSide; ++x) {
                const auto fx = static_cast<float>(x);
                const auto fy = static_cast<float>(y);
                mVertices.push_back({fx, fy, 3 * std::sin(fx * 0.1f) * std::cos(fy * 0.07f)});
            }
        }
        for (uint32 y = 0; y < cSide; ++y) {
            for (uint32 x = 0; x < cSide; ++x) {
                const uint32 corner = y * (cSide + 1) + x;
                mTriangles.push_back({corner, corner + 1, corner + cSide + 2});
                mTriangles.push_back({corner, corner + cSide + 2, corner + cSide + 1});
            }
        }
    }

    Vertices mVertices{cGlobalHeap};
    Triangles mTriangles{cGlobalHeap};
};

void computeNormalsPlainly(Vertices& normals, const Vertices& vertices, const Triangles& triangles) {
    normals.clear();
    normals.resize(vertices.size());
    for (const IndexedTriangle& triangle : triangles) {
        const Vec3f& corner = vertices[triangle.mA];
        const Vec3f unit = normalized(cross(vertices[triangle.mB] - corner, vertices[triangle.mC] - corner));
        for (uint32 index = 0; index < 3; ++index)
            normals[triangle[index]] += unit;
    }
    for (Vec3f& normal : normals)
        normal = normalized(normal);
}

template <auto ComputeNormals>
void computeNormals(benchmark::State& state) {
    const Field field;
    Vertices expected(cGlobalHeap);
    computeNormalsPlainly(expected, field.mVertices, field.mTriangles);
    Vertices normals(cGlobalHeap);
    for (auto _ : state)
        ComputeNormals(normals, field.mVertices, field.mTriangles);
    countOperations(state, Field::cTriangles);
    check(std::ranges::equal(normals, expected), "other normals");
}

/// The thirteen axes in the usual order.
[[gnu::noinline]] bool overlapsPlainly(const Vec3f& p0, const Vec3f& p1, const Vec3f& p2, const Vec3f& center,
                                       float size) {
    const float half = size * 0.5f;
    const std::array<Vec3f, 3> q{p0 - center, p1 - center, p2 - center};
    const std::array<Vec3f, 3> e{q[1] - q[0], q[2] - q[1], q[0] - q[2]};
    const auto isApart = [](float a, float b, float radius) {
        return std::min(a, b) > radius || std::max(a, b) < -radius;
    };
    for (uint32 index = 0; index < 3; ++index) {
        const Vec3f& edge = e[index];
        const Vec3f& end = q[index];
        const Vec3f& other = q[(index + 2) % 3];
        const float x = std::abs(edge.mX);
        const float y = std::abs(edge.mY);
        const float z = std::abs(edge.mZ);
        if (isApart(edge.mZ * end.mY - edge.mY * end.mZ, edge.mZ * other.mY - edge.mY * other.mZ, half * (y + z)) ||
            isApart(edge.mX * end.mZ - edge.mZ * end.mX, edge.mX * other.mZ - edge.mZ * other.mX, half * (x + z)) ||
            isApart(edge.mY * end.mX - edge.mX * end.mY, edge.mY * other.mX - edge.mX * other.mY, half * (x + y)))
            return false;
    }
    for (uint32 axis = 0; axis < 3; ++axis) {
        if (std::min({q[0][axis], q[1][axis], q[2][axis]}) > half ||
            std::max({q[0][axis], q[1][axis], q[2][axis]}) < -half)
            return false;
    }
    const Vec3f normal = cross(e[0], e[1]);
    Vec3f low;
    Vec3f high;
    for (uint32 axis = 0; axis < 3; ++axis) {
        low[axis] = (normal[axis] > 0 ? -half : half) - q[0][axis];
        high[axis] = (normal[axis] > 0 ? half : -half) - q[0][axis];
    }
    return !(dot(normal, low) > 0) && dot(normal, high) >= 0;
}

bool overlapsByOurs(const Vec3f& p0, const Vec3f& p1, const Vec3f& p2, const Vec3f& center, float size) {
    return Intersect::TriangleCube(p0, p1, p2, center, size);
}

/// Triangles around the cube, of which 37 in a hundred overlap it.
template <auto Overlaps>
void testTriangles(benchmark::State& state) {
    constexpr uint32 cTriangles = 10000;
    constexpr float cSize = 2.1f;
    std::mt19937 random(1);
    const auto place = [&random](float reach) {
        std::uniform_real_distribution<float> component(-reach, reach);
        return Vec3f{component(random), component(random), component(random)};
    };
    std::vector<Vec3f> corners;
    while (corners.size() < std::size_t{3} * cTriangles) {
        const Vec3f middle = place(2);
        for (uint32 corner = 0; corner < 3; ++corner)
            corners.push_back(middle + place(0.95f));
    }
    const Vec3f center;
    uint32 hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (uint32 index = 0; index < 3 * cTriangles; index += 3)
            hits += Overlaps(corners[index], corners[index + 1], corners[index + 2], center, cSize) ? 1U : 0U;
    }
    countOperations(state, cTriangles);
    uint32 expected = 0;
    for (uint32 index = 0; index < 3 * cTriangles; index += 3)
        expected += overlapsPlainly(corners[index], corners[index + 1], corners[index + 2], center, cSize) ? 1U : 0U;
    check(hits == expected, "other hits");
    check(hits > cTriangles * 35 / 100 && hits < cTriangles * 39 / 100, "not 37 hits in a hundred");
}

Case triangulationCase(const char* name, uint32 corners) {
    return {
        name,
        [corners](benchmark::State& state) { triangulate<Utility::TriangulatePolygon>(state, corners); },
        {{"recursion", 0.25, [corners](benchmark::State& state) { triangulate<triangulatePlainly>(state, corners); }}}};
}

} // namespace

std::vector<Case> geomCases() {
    return {
        triangulationCase("geom/TriangulatePolygon 128", 128),
        triangulationCase("geom/TriangulatePolygon 512", 512),
        {"geom/TriangleCube", testTriangles<overlapsByOurs>, {{"plain loop", 1.0, testTriangles<overlapsPlainly>}}},
        {"geom/ComputeMeshNormals",
         computeNormals<Utility::ComputeMeshNormals>,
         {{"plain loop", 1.0, computeNormals<computeNormalsPlainly>}}},
    };
}

} // namespace Tarq::Bench
