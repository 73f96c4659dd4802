#include "common/geom/intersect/aabbcircleintersect.h"
#include "common/geom/intersect/lineintersect.h"
#include "common/geom/intersect/trianglecube.h"

#include "tests/support/librarytest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Geom;
using namespace Tarq::Common::Geom::Intersect;
using namespace Tarq::Test;
using Math::Vec2;
using Math::Vec2f;
using Math::Vec3;

namespace {

using Random = std::mt19937;

int makeComponent(Random& random, int reach) {
    return static_cast<int>(random() % static_cast<unsigned>(2 * reach + 1)) - reach;
}

int cross2D(const Math::Vec2i& a, const Math::Vec2i& b) {
    return a.mX * b.mY - a.mY * b.mX;
}

template <class T>
Vec2<T> to(const Math::Vec2i& v) {
    return {static_cast<T>(v.mX), static_cast<T>(v.mY)};
}

/// Whether 0 <= numerator / denominator <= 1.
bool isWithin(int numerator, int denominator) {
    return denominator > 0 ? 0 <= numerator && numerator <= denominator : 0 >= numerator && numerator >= denominator;
}

/// Whether something is left of the triangle when all that is outside of the cube around 0 has been cut off.
template <class T>
bool isInCube(const std::array<Vec3<T>, 3>& triangle, double half) {
    std::vector<Math::Vec3d> rest;
    for (const Vec3<T>& corner : triangle)
        rest.push_back({corner.mX, corner.mY, corner.mZ});
    for (uint32 plane = 0; plane < 6; ++plane) {
        const auto height = [&](const Math::Vec3d& p) {
            return half + (plane % 2 == 0 ? p[plane / 2] : -p[plane / 2]);
        };
        std::vector<Math::Vec3d> cut;
        for (std::size_t index = 0; index < rest.size(); ++index) {
            const Math::Vec3d& from = rest[index];
            const Math::Vec3d& to = rest[(index + 1) % rest.size()];
            if (height(from) >= 0)
                cut.push_back(from);
            if ((height(from) >= 0) != (height(to) >= 0))
                cut.push_back(from + (to - from) * (height(from) / (height(from) - height(to))));
        }
        rest = cut;
    }
    return !rest.empty();
}

} // namespace

TEST_CASE("segments cross where whole numbers say so") {
    float t1 = 9, t2 = 9;
    CHECK((LineLine(t1, t2, {0, 0}, {2, 2}, {0, 2}, {2, 0}) && t1 == 0.5f && t2 == 0.5f));
    t1 = t2 = 9;
    CHECK(!LineLine(t1, t2, {0, 0}, {1, 0}, {0, 0}, {2, 0}));
    CHECK(!LineLine(t1, t2, {0, 0}, {1, 0}, {0.5f, 0}, {0.5f, 0.00009f}));
    CHECK((t1 == 9 && t2 == 9));
    CHECK(LineLine({0, 0}, {1, 0}, {0.5f, 0}, {0.5f, 1e-4f})); // not below the bound

    Random random(5);
    for (uint32 round = 0; round < 100000; ++round) {
        Math::Vec2i p[4];
        for (Math::Vec2i& point : p)
            point = {makeComponent(random, 8), makeComponent(random, 8)};
        const int denominator = cross2D(p[1] - p[0], p[3] - p[2]);
        const int n1 = cross2D(p[3] - p[2], p[0] - p[2]);
        const int n2 = cross2D(p[1] - p[0], p[0] - p[2]);
        const bool isCrossing = denominator != 0 && isWithin(n1, denominator) && isWithin(n2, denominator);
        const Vec2f a1 = to<float>(p[0]), a2 = to<float>(p[1]), b1 = to<float>(p[2]), b2 = to<float>(p[3]);
        CAPTURE(round);
        t1 = t2 = 9;
        REQUIRE(LineLine(t1, t2, a1, a2, b1, b2) == isCrossing);
        REQUIRE(LineLine(a1, a2, b1, b2) == isCrossing);
        REQUIRE(t1 == (denominator == 0 ? 9 : float(n1) / float(denominator)));
        REQUIRE(t2 == (denominator == 0 ? 9 : float(n2) / float(denominator)));
    }
}

TEST_CASE_TEMPLATE("rays hit segments where whole numbers say so", T, float, double) {
    const LibraryTest test;
    T t = 9;
    CHECK((LineRay(t, {0, -1}, {0, 1}, {-1, 0}, {1, 0}) && t == 1));
    CHECK((!LineRay(t, {0, -1}, {0, -1}, {-1, 0}, {1, 0}) && t == -1));
    CHECK(LineRay(t, {0, -1}, {0, 1}, {T(0.0001), 0}, {4, 0}));
    CHECK(!LineRay(t, {0, -1}, {0, 1}, {T(0.0005), 0}, {4, 0}));
    CHECK(LineRay(t, {0, -1}, {0, 1}, {-4, 0}, {T(-0.0003), 0}));
    {
        const std::string zero = std::is_same_v<T, float> ? "0.0f" : "0.0";
        const ExpectedAssertion expected("!(dir.mX == " + zero + " && dir.mY == " + zero +
                                             ")\nError Message: direction is of length zero",
                                         "common/geom/intersect/lineintersect");
        t = 9;
        CHECK((!LineRay(t, {0, 0}, {0, T(-0.0)}, {-1, 0}, {1, 0}) && t == 9));
    }
    Random random(6);
    for (uint32 round = 0; round < 100000; ++round) {
        Math::Vec2i p[4];
        for (Math::Vec2i& point : p)
            point = {makeComponent(random, 8), makeComponent(random, 8)};
        if (p[1] == Math::Vec2i{})
            continue;
        const Math::Vec2i e = p[3] - p[2], w = p[0] - p[2];
        const int denominator = cross2D(p[1], e), along = cross2D(e, w);
        const bool isHit = denominator != 0 && (along == 0 || (along > 0) == (denominator > 0)) &&
                           isWithin(cross2D(p[1], w), denominator);
        CAPTURE(round);
        t = 9;
        REQUIRE(LineRay(t, to<T>(p[0]), to<T>(p[1]), to<T>(p[2]), to<T>(p[3])) == isHit);
        REQUIRE(t == (denominator == 0 ? 9 : T(along) / T(denominator)));
    }
}

TEST_CASE("a disc overlaps a rectangle up to where it touches") {
    const AABB2D<float> box{0, 0, 2, 2};
    CHECK(AABBCircleIntersect(box, {3, 1}, 1));
    CHECK(!AABBCircleIntersect(box, {3, 3}, 1.4f));
    CHECK(AABBCircleIntersect(box, {3, 3}, 1.5f));
    Random random(7);
    for (uint32 round = 0; round < 100000; ++round) {
        const int x = makeComponent(random, 9), y = makeComponent(random, 9), radius = 5 + makeComponent(random, 5);
        const int width = 5 + makeComponent(random, 5), height = 5 + makeComponent(random, 5);
        const int dx = std::max({-x, 0, x - width}), dy = std::max({-y, 0, y - height});
        REQUIRE(AABBCircleIntersect({10, -10, float(10 + width), float(-10 + height)}, {float(10 + x), float(y - 10)},
                                    float(radius)) == (dx * dx + dy * dy <= radius * radius));
    }
}

TEST_CASE_TEMPLATE("a triangle overlaps a cube if anything of it is inside", T, float, double) {
    using V = Vec3<T>;
    constexpr T cOff = T(0.001);
    CHECK(TriangleCube(V{1, 0, 0}, V{2, 0, 0}, V{2, 1, 0}, V{}, 2));
    CHECK(!TriangleCube(V{1 + cOff, 0, 0}, V{2 + cOff, 0, 0}, V{2 + cOff, 1, 0}, V{}, 2));
    CHECK(TriangleCube(V{2, 1, 1}, V{1, 2, 1}, V{1, 1, 2}, V{}, 3)); // a corner of the cube is beyond
    CHECK(TriangleCube(V{2, 0, 0}, V{0, 2, 0}, V{2, 2, 0}, V{}, 2)); // an edge touches an edge
    CHECK(TriangleCube(V{5, 5, 5}, V{5, 5, 5}, V{5, 5, 5}, V{4, 4, 4}, 2));
    CHECK(!TriangleCube(V{5, 5, 6}, V{5, 5, 6}, V{5, 5, 6}, V{4, 4, 4}, 2));

    Random random(8);
    uint32 hits = 0, clear = 0;
    for (uint32 round = 0; round < 100000; ++round) {
        std::array<V, 3> q;
        const V center{T(makeComponent(random, 9)), T(makeComponent(random, 9)), T(makeComponent(random, 9))};
        const V off{T(makeComponent(random, 3)), T(makeComponent(random, 3)), T(makeComponent(random, 3))};
        for (V& corner : q)
            corner = off / 2 +
                     V{T(makeComponent(random, 40)), T(makeComponent(random, 40)), T(makeComponent(random, 40))} / 32;
        const bool isHit = isInCube(q, 0.9999);
        if (isHit != isInCube(q, 1.0001))
            continue;
        ++clear;
        hits += isHit;
        CAPTURE(round);
        REQUIRE(TriangleCube(q[0] + center, q[1] + center, q[2] + center, center, 2) == isHit);
    }
    CHECK((clear > 90000 && hits > clear / 4 && hits < clear * 3 / 4));
}

TEST_CASE_FIXTURE(LibraryTest,
                  "a ray hits a segment up to a ten thousandth of its length beyond the ends, in doubles") {
    float t = 9;
    CHECK_FALSE(LineRay(t, {1.0001f, -1}, {0, 1}, {0, 0}, {1, 0})); // at 1.00010001659
    double exact = 9;
    CHECK(LineRay(exact, {1.00005, -1}, {0, 1}, {0, 0}, {1, 0}));
    CHECK_FALSE(LineRay(exact, {1.00015, -1}, {0, 1}, {0, 0}, {1, 0}));
    // Parallel is what is within 0.0001, which is more than the float of that name.
    exact = 9;
    CHECK_FALSE(LineRay(exact, {0, -1}, {0, 0.99999999e-4}, {-1, 0}, {0, 0}));
    CHECK(exact == 9);
    CHECK(LineRay(exact, {0, -1}, {0, 0.0001}, {-1, 0}, {0, 0}));
    CHECK(exact == doctest::Approx(10000));
}

TEST_CASE_FIXTURE(LibraryTest, "each product and each sum is rounded by itself") {
    Random random(4711);
    const auto make = [&] { return static_cast<float>(makeComponent(random, 1000)) / 7; };
    for (int round = 0; round < 10000; ++round) {
        CAPTURE(round);
        const Vec2f a1{make(), make()};
        const Vec2f a2{make(), make()};
        const Vec2f b1{make(), make()};
        const Vec2f b2{make(), make()};
        // No machine computes more than one step at a time on these.
        volatile float left = (a2.mX - a1.mX) * (b2.mY - b1.mY);
        volatile float right = (a2.mY - a1.mY) * (b2.mX - b1.mX);
        const float denominator = left - right;
        left = (b2.mX - b1.mX) * (a1.mY - b1.mY);
        right = (b2.mY - b1.mY) * (a1.mX - b1.mX);
        const float expected = (left - right) / denominator;
        float t1 = 9;
        float t2 = 9;
        LineLine(t1, t2, a1, a2, b1, b2);
        CHECK(t1 == (std::abs(denominator) < 1e-4f ? 9 : expected));
    }
}
