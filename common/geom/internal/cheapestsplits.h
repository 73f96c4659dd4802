#pragma once

#include "common/container/vector.h"
#include "common/math/vec3.h"
#include "common/types.h"

#include <cstddef>
#include <limits>
#include <new>

namespace Tarq::Common::Geom::Internal {

/// Side × side entries without values from the global heap; false when those are not to be had.
template <class T>
class Table {
public:
    explicit Table(std::size_t side) noexcept : mSide(side) {
        if (side == 0 || side <= std::numeric_limits<std::size_t>::max() / sizeof(T) / side)
            mEntries = static_cast<T*>(::operator new(side* side * sizeof(T), std::nothrow));
    }
    ~Table() { ::operator delete(mEntries); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    explicit operator bool() const noexcept { return mEntries != nullptr; }
    std::size_t side() const noexcept { return mSide; }
    T* row(std::size_t index) noexcept { return mEntries + index * mSide; }
    const T* row(std::size_t index) const noexcept { return mEntries + index * mSide; }

private:
    std::size_t mSide;
    T* mEntries = nullptr;
};

/// What a triangulation costs less than; a range without such a one has none.
inline constexpr float cNoCost = std::numeric_limits<float>::max();

/// The triangulations with the smallest sums of perimeters, of every range of a polygon's corners.
///
/// Range (i, j) are the corners from i to j, and the side between those two. Its triangle over that side has a third
/// corner k, the split, and leaves the ranges (i, k) and (k, j). Costs are computed from short ranges to long ones,
/// without recursion, and by rows: what is computed for i and for i + 1 is independent, and side by side in memory.
class CheapestSplits {
public:
    /// Both tables have memory, and as many rows as the polygon has corners; they outlive this object. Every index of
    /// the polygon is one of a vertex.
    CheapestSplits(Table<float>& costs, Table<int32>& splits, const Container::Vector<uint32>& polygon,
                   const Container::Vector<Math::Vec3<float>>& vertices) noexcept;

    /// Calls `visit(i, k, j)` for each triangle of the whole polygon: that over the side between the first and the last
    /// corner, then those of its range (i, k), then those of (k, j). Works once: it needs a part of a table.
    template <class Visitor>
    void visitTriangles(Visitor visit) {
        // The ranges that wait lie one after the other, so that their ends are all there is to remember: fewer than
        // corners, which have room in the row that has no splits.
        int32* const ends = mSplits.row(0);
        std::size_t waiting = 0;
        ends[waiting++] = static_cast<int32>(mSplits.side() - 1);
        int32 i = 0;
        while (waiting != 0) {
            const int32 j = ends[waiting - 1];
            const int32 k = getSplit(i, j);
            if (k == cNoSplit) {
                i = j;
                --waiting;
            } else {
                visit(static_cast<uint32>(i), static_cast<uint32>(k), static_cast<uint32>(j));
                ends[waiting++] = k;
            }
        }
    }

private:
    static constexpr int32 cNoSplit = -1; ///< of a range without a triangle

    int32 getSplit(int32 i, int32 j) const noexcept;
    /// The distances of the corners before `corner` from it.
    float* distances(std::size_t corner) noexcept;

    void computeRow(std::size_t j) noexcept;

    Table<float>& mCosts; ///< of (i, j) in row j; between them and the end of the rows, distances
    Table<int32>& mSplits;
};

/// The same triangles for a polygon of three or four corners, which takes no tables: the corners of one after the
/// other, as the vertices' indexes.
class TrianglesOfFew {
public:
    static constexpr uint32 cMostCorners = 4;

    TrianglesOfFew(const Container::Vector<uint32>& polygon,
                   const Container::Vector<Math::Vec3<float>>& vertices) noexcept;

    const uint32* begin() const noexcept { return mIndexes; }
    const uint32* end() const noexcept { return mIndexes + mCount; }

private:
    uint32 mIndexes[3 * (cMostCorners - 2)];
    uint32 mCount = 0;
};

} // namespace Tarq::Common::Geom::Internal
