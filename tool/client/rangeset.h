#pragma once

#include "common/types.h"

#include <cstddef>
#include <iterator>
#include <map>

namespace Tarq::Tool {

/// Which numbers have occurred, as ranges that neither meet nor overlap.
class RangeSet {
public:
    /// Whoever adds them may not want them to be few: beyond so many, a new one is left out.
    static constexpr std::size_t cMostRanges = 65536;

    /// `begin <= end`; the end does not belong to it.
    void add(Common::uint64 begin, Common::uint64 end) {
        auto next = mRanges.upper_bound(begin);
        if (next != mRanges.begin() && std::prev(next)->second >= begin)
            --next;
        for (; next != mRanges.end() && next->first <= end; next = mRanges.erase(next)) {
            begin = begin < next->first ? begin : next->first;
            end = end > next->second ? end : next->second;
            mCount -= next->second - next->first;
        }
        if (begin == end || mRanges.size() == cMostRanges)
            return;
        mRanges[begin] = end;
        mCount += end - begin;
    }
    /// Of numbers.
    Common::uint64 count() const noexcept { return mCount; }
    /// Where each range begins, and where it ends.
    const std::map<Common::uint64, Common::uint64>& getRanges() const noexcept { return mRanges; }

private:
    std::map<Common::uint64, Common::uint64> mRanges;
    Common::uint64 mCount = 0;
};

} // namespace Tarq::Tool
