#pragma once

#include "common/types.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Tarq::Tool {

/// Which numbers have occurred.
///
/// Whoever adds them may choose them so that they make as many ranges as can be. So there is a bit for each, but only
/// around numbers that have occurred where others have not: at most an eighth of the largest number, in bytes.
class RangeSet {
public:
    /// `begin <= end`; the end does not belong to it.
    void add(Common::uint64 begin, Common::uint64 end);
    /// Of numbers.
    Common::uint64 count() const noexcept { return mCount; }

    struct Ranges {
        std::size_t number = 0;
        std::vector<std::pair<Common::uint64, Common::uint64>> first; ///< where each begins, and where it ends
    };
    /// Those that neither meet nor overlap, of which no more are listed than `most`.
    Ranges getRanges(std::size_t most) const;

private:
    struct Chunk {
        Common::uint32 count = 0;
        std::vector<Common::uint64> words; ///< empty while it has no number, and when it has all
    };

    Common::uint64 find(Common::uint64 begin, bool hasOccurred) const noexcept;

    std::vector<Chunk> mChunks;
    Common::uint64 mCount = 0;
};

} // namespace Tarq::Tool
