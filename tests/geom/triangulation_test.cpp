#include "common/geom/geomutility.h"

#include "tests/support/childprocess.h"
#include "tests/support/librarytest.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Geom::Utility::TriangulatePolygon;
using Indexes = std::vector<uint32>;
using Vertices = std::vector<Math::Vec3f>;

namespace {

const std::string cFile = "common/geom/geomutility";

Indexes triangulate(const LibraryTest& test, const Indexes& polygon, const Vertices& vertices) {
    Container::Vector<uint32> out(test.allocator(), {9});
    TriangulatePolygon(out, {test.allocator(), polygon.begin(), polygon.end()},
                       {test.allocator(), vertices.begin(), vertices.end()});
    REQUIRE(out[0] == 9);
    return {out.begin() + 1, out.end()};
}

/// The recursion whose triangles are the right ones.
struct Recursion {
    explicit Recursion(const Vertices& corners)
        : mCorners(corners), mCosts(corners.size() * corners.size(), -1), mSplits(mCosts.size(), -1) {
        computeCost(0, corners.size() - 1);
        emit(0, corners.size() - 1);
    }

    static float distance(const Math::Vec3f& a, const Math::Vec3f& b) { return std::sqrt(dot(a - b, a - b)); }

    float computeCost(std::size_t i, std::size_t j) {
        float& stored = mCosts[j * mCorners.size() + i];
        if (stored >= 0)
            return stored;
        if (j < i + 2)
            return stored = 0;
        float best = std::numeric_limits<float>::max();
        for (std::size_t k = i + 1; k < j; ++k) {
            const Math::Vec3f &a = mCorners[j], &b = mCorners[i], &c = mCorners[k];
            const float sides = distance(c, a) + distance(b, c) + distance(a, b);
            const float cost = sides + (computeCost(k, j) + computeCost(i, k));
            if (cost < best) {
                best = cost;
                mSplits[j * mCorners.size() + i] = static_cast<int32>(k);
            }
        }
        return stored = best;
    }
    void emit(std::size_t i, std::size_t j) {
        const int32 k = mSplits[j * mCorners.size() + i];
        if (k < 0)
            return;
        for (const std::size_t corner : {i, static_cast<std::size_t>(k), j})
            mTriangles.push_back(static_cast<uint32>(corner));
        emit(i, static_cast<std::size_t>(k));
        emit(static_cast<std::size_t>(k), j);
    }

    const Vertices& mCorners;
    std::vector<float> mCosts;
    std::vector<int32> mSplits;
    Indexes mTriangles;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a polygon is split into the triangles with the smallest perimeters, ties to the left") {
    const Vertices square{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    const Vertices rectangle{{0, 0, 0}, {4, 0, 0}, {4, 1, 0}, {0, 1, 0}};
    const Vertices many(8);
    CHECK(triangulate(*this, {0, 1, 2, 3}, square) == Indexes{0, 1, 3, 1, 2, 3});
    CHECK(triangulate(*this, {0, 1, 2, 3}, rectangle) == Indexes{0, 1, 3, 1, 2, 3});
    CHECK(triangulate(*this, {3, 1, 2, 0}, square) == Indexes{3, 1, 0, 1, 2, 0});
    CHECK(triangulate(*this, {5, 6, 7}, many) == Indexes{5, 6, 7});

    Container::Vector<uint32> same(allocator(), {0, 1, 2, 3});
    TriangulatePolygon(same, same, {allocator(), square.begin(), square.end()});
    CHECK(Indexes(same.begin(), same.end()) == Indexes{0, 1, 2, 3, 0, 1, 3, 1, 2, 3});
}

TEST_CASE_FIXTURE(LibraryTest, "what is no polygon of the vertices gives nothing") {
    const Vertices three(3);
    for (const Indexes& polygon : {Indexes{}, Indexes{0, 1}, Indexes{0, 7}}) {
        const ExpectedAssertion expected("corners >= 3\nError Message: polygon needs at least three vertices for "
                                         "triangulation",
                                         cFile);
        CHECK(triangulate(*this, polygon, three).empty());
    }
    for (const Indexes& polygon : {Indexes{3, 0, 1}, Indexes{0, 1, 2, 3}, Indexes{0, 0xFFFFFFFF, 1}}) {
        const ExpectedAssertion expected(
            "isEachVertexThere\nError Message: polygon refers to a vertex that does not exist", cFile);
        CHECK(triangulate(*this, polygon, three).empty());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "triangles are those of the recursion, also for ties and for what is no number") {
    constexpr float cInfinity = std::numeric_limits<float>::infinity();
    constexpr float cOdd[] = {
        std::numeric_limits<float>::quiet_NaN(), cInfinity, -cInfinity, 3.4e38f, 1.2e19f, 1e-30f, -0.0f};
    std::mt19937 random(9);
    const auto below = [&](unsigned bound) { return static_cast<uint32>(random() % bound); };
    for (uint32 round = 0; round < 100000; ++round) {
        const uint32 size = 3 + below(round % 256 == 0 ? 38 : 9);
        const uint32 grid = round % 2 == 0 ? 4 : 1000;
        Vertices corners(size);
        for (Math::Vec3f& corner : corners)
            corner = {float(below(grid)), float(below(grid)), round % 4 < 2 ? 0 : float(below(grid))};
        for (uint32 odd = round % 16 == 0 ? below(4) : 0; odd != 0; --odd)
            corners[below(size)][below(3)] = cOdd[below(std::size(cOdd))];
        Indexes polygon(size);
        std::iota(polygon.begin(), polygon.end(), 0);
        const Recursion recursion(corners);
        CAPTURE(round);
        REQUIRE((round % 16 == 0 || recursion.mTriangles.size() == 3 * (size - 2)));
        REQUIRE(triangulate(*this, polygon, corners) == recursion.mTriangles);
    }
}

// The thread sanitizer brings a global heap of its own, from which the program's cannot take over everywhere.
#ifndef TARQ_TEST_THREAD_SANITIZER
TEST_CASE_FIXTURE(BareTest, "tables that cannot be had are said, and nothing is left of them") {
    const std::string noCosts =
        "costs\nError Message: cannot alloc costs array (" + cFile + "); 0 appended, 0 leaked\n";
    const std::string noSplits =
        "splits\nError Message: cannot alloc min array (" + cFile + "); 0 appended, 0 leaked\n";
    // Where addresses have 32 bits, the size of the largest table cannot even be said.
    const std::string largest = sizeof(void*) == 4 ? "" : "17179869184 bytes refused; ";
    CHECK(runProgram("tablesrefused", "5 0").out == "100 bytes refused; " + noCosts);
    CHECK(runProgram("tablesrefused", "5 1").out == "100 bytes refused; " + noSplits);
    CHECK(runProgram("tablesrefused", "65536 0").out == largest + noCosts);
    CHECK(runProgram("tablesrefused", "5 -1").out == "9 appended, 0 leaked\n");
}
#endif
