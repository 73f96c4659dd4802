#include "common/geom/geomutility.h"

#include "tests/support/librarytest.h"

#include <algorithm>
#include <cmath>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Common::Geom;
using namespace Tarq::Common::Geom::Utility;
using namespace Tarq::Test;
using Math::Vec2f;
using Math::Vec3f;

TEST_CASE_FIXTURE(LibraryTest, "points are on segments, and have distances from them") {
    CHECK(IsPointOnLine2D({0, 0}, {10, 0}, {10.05f, 0.05f}, 0.1f));
    CHECK(!IsPointOnLine2D({0, 0}, {10, 0}, {10.2f, 0}, 0.1f));
    CHECK(!IsPointOnLine2D({0, 0}, {10, 0}, {5, 0.2f}, 0.1f));
    CHECK(IsPointOnLine2D({0, 0}, {0, 8}, {0.5f, -0.5f}, 0.5f));
    CHECK(!IsPointOnLine2D({1, 1}, {1, 1}, {1, 1}, 1));
    CHECK(!IsPointOnLine2D({0, 0}, {1e-30f, 0}, {5, 0}, 1));
    CHECK(DistancePointToLine2D({0, 0}, {10, 0}, {5, 3}) == 3);
    CHECK(DistancePointToLine2D({0, 0}, {10, 0}, {-3, 4}) == 5);
    CHECK(DistancePointToLine2D({0, 0}, {10, 0}, {13, 4}) == 5);
    CHECK(DistancePointToLine2D({1, 1}, {1, 1}, {4, 5}) == 5);

    std::mt19937 random(2);
    const auto component = [&] { return static_cast<int>(random() % 41) - 20; };
    for (uint32 round = 0; round < 100000; ++round) {
        const int ax = component(), ay = component(), px = component(), py = component();
        const int dx = component(), dy = component();
        const Vec2f a{float(ax), float(ay)}, b{float(ax + dx), float(ay + dy)}, p{float(px), float(py)};
        const double squared = dx * dx + dy * dy;
        const double along = (px - ax) * dx + (py - ay) * dy;
        const double t = squared == 0 ? 0 : std::clamp(along / squared, 0.0, 1.0);
        const double distance = std::hypot(px - ax - t * dx, py - ay - t * dy);
        CAPTURE(round);
        REQUIRE(DistancePointToLine2D(a, b, p) == doctest::Approx(distance).epsilon(1e-5));
        if (squared == 0)
            continue;
        const double epsilon = double{0.7f};
        const double aside = std::abs(dx * (ay - py) - dy * (ax - px)) / std::sqrt(squared);
        const double before = -along / std::sqrt(squared), behind = along / std::sqrt(squared) - std::sqrt(squared);
        REQUIRE(IsPointOnLine2D(a, b, p, 0.7f) == (std::max({aside, before, behind}) <= epsilon));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "two units span the plane with a normal") {
    Vec3f u, v;
    GetPlaneCoordSystem(u, v, {0, 0, 1});
    CHECK((u == Vec3f{-1, 0, 0} && v == Vec3f{0, 1, 0}));
    GetPlaneCoordSystem(u, v, {-2, 2, 2}); // the first of the largest
    CHECK((u.mX == doctest::Approx(-2 / std::sqrt(24)) && u.mZ == doctest::Approx(2 / std::sqrt(24))));
    CHECK((v.mX == doctest::Approx(-std::sqrt(0.5)) && v.mY == 0 && v.mZ == doctest::Approx(-std::sqrt(0.5))));
    {
        const ExpectedAssertion expected("maxVal > 0\nError Message: ", "common/geom/geomutility");
        GetPlaneCoordSystem(u, v, {0, 0, -0.0f});
        CHECK((u == Vec3f{} && v == Vec3f{}));
    }
    std::mt19937 random(3);
    std::normal_distribution<float> component;
    for (uint32 round = 0; round < 100000; ++round) {
        const Vec3f normal{component(random), component(random), component(random)};
        u = normal;
        GetPlaneCoordSystem(u, v, u);
        const bool isOrthogonal = std::abs(dot(u, v)) + std::abs(dot(u, normal)) + std::abs(dot(v, normal)) <
                                  1e-5f * (1 + dot(normal, normal));
        REQUIRE((isOrthogonal && std::abs(dot(u, u) - 1) + std::abs(dot(v, v) - 1) < 1e-5f));
        REQUIRE(dot(cross(u, v), normal) < 0);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a vertex normal is the average of the triangles around it") {
    using Vertices = Container::Vector<Vec3f>;
    using Triangles = Container::Vector<IndexedTriangle>;
    Vertices normals(allocator(), 2, {5, 5, 5});
    const Vertices corners(allocator(), {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {7, 7, 7}});
    ComputeMeshNormals(normals, corners, {allocator(), {{0, 1, 2}, {0, 3, 0}}});
    CHECK(std::ranges::equal(normals, std::vector<Vec3f>{{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {}}));
    for (const IndexedTriangle& wrong : {IndexedTriangle{4, 0, 1}, {0, 4, 1}, {0, 1, 0xFFFFFFFF}}) {
        const ExpectedAssertion expected(
            "isEachVertexThere\nError Message: triangle refers to a vertex that does not exist",
            "common/geom/geomutility");
        ComputeMeshNormals(normals, corners, {allocator(), {{0, 2, 1}, wrong}});
        CHECK(normals[0] == Vec3f{0, 0, 1});
    }

    std::mt19937 random(4);
    const auto below = [&](unsigned bound) { return static_cast<uint32>(random() % bound); };
    for (uint32 round = 0; round < 700; ++round) {
        Vertices vertices(allocator(), 1 + below(100));
        for (Vec3f& vertex : vertices)
            vertex = {float(below(5)), float(below(5)), float(below(5))};
        Triangles triangles(allocator(), below(3) == 0 ? 63 + below(3) : below(280));
        std::vector<Math::Vec3d> sums(vertices.size());
        for (IndexedTriangle& triangle : triangles) {
            triangle = {below(vertices.size()), below(vertices.size()), below(vertices.size())};
            const auto edge = [&](uint32 end) {
                const Vec3f e = vertices[end] - vertices[triangle.mA];
                return Math::Vec3d{e.mX, e.mY, e.mZ};
            };
            const Math::Vec3d f = cross(edge(triangle.mB), edge(triangle.mC));
            for (const uint32 corner : {triangle.mA, triangle.mB, triangle.mC})
                sums[corner] += f == Math::Vec3d{} ? f : f / std::sqrt(dot(f, f));
        }
        ComputeMeshNormals(normals, vertices, triangles);
        REQUIRE(normals.size() == vertices.size());
        for (uint32 index = 0; index < normals.size(); ++index) {
            const double length = std::sqrt(dot(sums[index], sums[index]));
            const Vec3f& n = normals[index];
            const Math::Vec3d off = Math::Vec3d{n.mX, n.mY, n.mZ} - sums[index] / (length == 0 ? 1 : length);
            CAPTURE(round);
            // A sum of opposite normals is next to nothing, and has no direction to speak of.
            REQUIRE((dot(off, off) < 1e-8 || length < 1e-3));
        }
    }
}
