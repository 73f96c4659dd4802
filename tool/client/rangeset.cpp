#include "tool/client/rangeset.h"

#include <algorithm>
#include <bit>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr uint64 cWordLength = 64;
constexpr uint64 cChunkLength = 32768;

/// Where the word or chunk ends that the number is in.
constexpr uint64 endOf(uint64 number, uint64 length) noexcept {
    return (number / length + 1) * length;
}

} // namespace

void RangeSet::add(uint64 begin, uint64 end) {
    if (begin < end && mChunks.size() * cChunkLength < end)
        mChunks.resize(static_cast<std::size_t>((end - 1) / cChunkLength + 1));
    for (uint64 next = 0; begin < end; begin = next) {
        Chunk& chunk = mChunks[static_cast<std::size_t>(begin / cChunkLength)];
        if (chunk.count == cChunkLength) {
            next = endOf(begin, cChunkLength);
            continue;
        }
        next = std::min(end, endOf(begin, cWordLength));
        if (chunk.words.empty())
            chunk.words.resize(cChunkLength / cWordLength);
        uint64& word = chunk.words[static_cast<std::size_t>(begin % cChunkLength / cWordLength)];
        const uint64 bits = (~uint64{0} >> (cWordLength - (next - begin))) << begin % cWordLength;
        const auto numNew = static_cast<uint32>(std::popcount(bits & ~word));
        word |= bits;
        chunk.count += numNew;
        mCount += numNew;
        if (chunk.count == cChunkLength)
            chunk.words = std::vector<uint64>();
    }
}

RangeSet::Ranges RangeSet::getRanges(std::size_t most) const {
    Ranges ranges;
    const uint64 last = mChunks.size() * cChunkLength;
    for (uint64 begin = find(0, true); begin < last; ++ranges.number) {
        const uint64 end = find(begin, false);
        if (ranges.number < most)
            ranges.first.emplace_back(begin, end);
        begin = find(end, true);
    }
    return ranges;
}

/// The first number from there on that has occurred, or has not; the end of all chunks when there is none.
uint64 RangeSet::find(uint64 begin, bool hasOccurred) const noexcept {
    const uint64 last = mChunks.size() * cChunkLength;
    while (begin < last) {
        const Chunk& chunk = mChunks[static_cast<std::size_t>(begin / cChunkLength)];
        if (chunk.words.empty()) {
            if ((chunk.count != 0) == hasOccurred)
                return begin;
            begin = endOf(begin, cChunkLength);
            continue;
        }
        const uint64 word = chunk.words[static_cast<std::size_t>(begin % cChunkLength / cWordLength)];
        const uint64 found = (hasOccurred ? word : ~word) >> begin % cWordLength;
        if (found != 0)
            return begin + static_cast<uint64>(std::countr_zero(found));
        begin = endOf(begin, cWordLength);
    }
    return last;
}

} // namespace Tarq::Tool
