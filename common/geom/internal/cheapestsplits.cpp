#include "common/geom/internal/cheapestsplits.h"

#include "common/geom/internal/rounding.h"

#include <algorithm>
#include <bit>

namespace Tarq::Common::Geom::Internal {

namespace {

/// What the ranges (i, j) have in common that are split at corner `k`.
struct Split {
    int32 k;
    float distance;        ///< of corner k from corner j
    float cost;            ///< of (k, j)
    const float* costs;    ///< of (i, k), for each i
    const float* kToStart; ///< distances of corner k from each i
    const float* jToStart; ///< distances of corner j from each i
};

/// The bits of `a` where those of `mask` are set, of `b` where they are not.
int32 choose(int32 mask, int32 a, int32 b) noexcept {
    return (a & mask) | (b & ~mask);
}

/// Lets each range from `i` = 0 to k - 1 have the split where that is no dearer than the best so far. The sums are in
/// the order that ties between equal triangulations depend on. Bits are chosen, since compilers make branches of other
/// choices, and then compute one float at a time.
void offer(const Split& split, float* __restrict best, int32* __restrict splits) noexcept {
    const auto [k, distance, rest, costs, kToStart, jToStart] = split;
    for (int32 i = 0; i < k; ++i) {
        const float perimeter = distance + kToStart[i] + jToStart[i];
        const float cost = perimeter + (rest + costs[i]);
        const int32 isTaken = -static_cast<int32>(cost <= best[i]);
        best[i] = std::bit_cast<float>(choose(isTaken, std::bit_cast<int32>(cost), std::bit_cast<int32>(best[i])));
        splits[i] = choose(isTaken, k, splits[i]);
    }
}

} // namespace

CheapestSplits::CheapestSplits(Table<float>& costs, Table<int32>& splits, const Container::Vector<uint32>& polygon,
                               const Container::Vector<Math::Vec3<float>>& vertices) noexcept
    : mCosts(costs), mSplits(splits) {
    for (std::size_t j = 1; j < mCosts.side(); ++j) {
        const Math::Vec3<float> corner = vertices[polygon[static_cast<uint32>(j)]];
        float* const row = distances(j);
        for (std::size_t i = 0; i < j; ++i)
            row[i] = length(corner - vertices[polygon[static_cast<uint32>(i)]]);
        computeRow(j);
    }
}

/// With k from the largest to the smallest, (k, j) is done when its turn comes, and of equal splits the smallest stays.
void CheapestSplits::computeRow(std::size_t j) noexcept {
    float* const best = mCosts.row(j);
    const float* const fromJ = distances(j);
    int32* const splits = mSplits.row(j);
    std::fill(best, best + j - 1, cNoCost);
    best[j - 1] = 0;
    std::fill(splits, splits + j, cNoSplit);
    for (std::size_t k = j - 1; k > 0; --k)
        offer({static_cast<int32>(k), fromJ[k], best[k], mCosts.row(k), distances(k), fromJ}, best, splits);
}

/// A range that no split made cheaper than `cNoCost` has none, though one of just that cost may have been offered.
int32 CheapestSplits::getSplit(int32 i, int32 j) const noexcept {
    const auto row = static_cast<std::size_t>(j);
    return mCosts.row(row)[i] < cNoCost ? mSplits.row(row)[i] : cNoSplit;
}

/// Row n - 1 - k has k entries after its costs and the one of the diagonal.
float* CheapestSplits::distances(std::size_t corner) noexcept {
    return mCosts.row(mCosts.side() - 1 - corner) + (mCosts.side() - corner);
}

/// Sums are in the order in which tables sum up. A range whose triangle is too dear makes all that it is a part of too
/// dear as well.
TrianglesOfFew::TrianglesOfFew(const Container::Vector<uint32>& polygon,
                               const Container::Vector<Math::Vec3<float>>& vertices) noexcept {
    const auto distance = [&](uint32 a, uint32 b) { return length(vertices[polygon[a]] - vertices[polygon[b]]); };
    const auto add = [&](uint32 i, uint32 k, uint32 j) {
        for (const uint32 corner : {i, k, j})
            mIndexes[mCount++] = polygon[corner];
    };
    const float d01 = distance(0, 1);
    const float d02 = distance(0, 2);
    const float d12 = distance(1, 2);
    const float cost02 = d12 + d01 + d02;
    if (polygon.size() < cMostCorners) {
        if (cost02 < cNoCost)
            add(0, 1, 2);
        return;
    }
    const float d03 = distance(0, 3);
    const float d13 = distance(1, 3);
    const float d23 = distance(2, 3);
    const float cost13 = d23 + d12 + d13;
    const float splitAt1 = d13 + d01 + d03 + cost13;
    const float splitAt2 = d23 + d02 + d03 + cost02;
    if (splitAt1 < cNoCost && !(splitAt2 < splitAt1)) {
        add(0, 1, 3);
        add(1, 2, 3);
    } else if (splitAt2 < cNoCost) {
        add(0, 2, 3);
        add(0, 1, 2);
    }
}

} // namespace Tarq::Common::Geom::Internal
