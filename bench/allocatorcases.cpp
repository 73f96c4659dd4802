#include "bench/cases.h"
#include "bench/foreignallocator.h"
#include "bench/secondthread.h"
#include "common/library.h"
#include "common/memory/allocator.h"

#include <boost/pool/pool.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <numeric>
#include <random>

namespace Tarq::Bench {

namespace {

constexpr uint32 cSmallSize = 24;
constexpr uint32 cBlockCount = 1024;
constexpr uint32 cLargestBlock = 248;

/// The library's allocator, as a host asks for it.
struct Ours {
    void* allocate(uint32 size) const { return mAllocator->alloc(size); }
    void release(void* block, uint32) const { mAllocator->free(block); }

    Common::Memory::Allocator* mAllocator = Common::Library::getTempAlloc().get();
};

/// A pool for each size in steps of 8, behind one mutex. It is told the size of what it takes back.
class LockedPools {
public:
    void* allocate(uint32 size) const {
        const std::scoped_lock inside(pools().mutex);
        return poolOf(size).malloc();
    }
    void release(void* block, uint32 size) const {
        const std::scoped_lock inside(pools().mutex);
        poolOf(size).free(block);
    }

private:
    static constexpr uint32 cStep = 8;
    template <std::size_t... Index>
    static std::array<boost::pool<>, sizeof...(Index)> makePools(std::index_sequence<Index...>) {
        return {boost::pool<>((Index + 1) * cStep)...};
    }
    struct Pools {
        std::mutex mutex;
        std::array<boost::pool<>, cLargestBlock / cStep> pools =
            makePools(std::make_index_sequence<cLargestBlock / cStep>());
    };
    static Pools& pools() {
        static Pools all;
        return all;
    }
    static boost::pool<>& poolOf(uint32 size) { return pools().pools[(size - 1) / cStep]; }
};

struct Foreign {
    void* allocate(uint32 size) const { return mAllocator.allocate(size); }
    void release(void* block, uint32) const { mAllocator.release(block); }

    ForeignAllocator mAllocator;
};

template <class Source>
void pairOnce(const Source& source) {
    void* block = source.allocate(cSmallSize);
    benchmark::DoNotOptimize(block);
    source.release(block, cSmallSize);
}

/// The blocks of one thread: random sizes, and a random order in which they go.
template <class Source>
class Shuffle {
public:
    explicit Shuffle(const Source& source, uint32 seed) : mSource(source) {
        std::mt19937 random(seed);
        std::uniform_int_distribution<uint32> sizes(8, cLargestBlock);
        std::generate(mSizes.begin(), mSizes.end(), [&] { return sizes(random); });
        std::iota(mOrder.begin(), mOrder.end(), 0);
        std::shuffle(mOrder.begin(), mOrder.end(), random);
    }

    /// Each block keeps its number as long as it lives, so that blocks that overlap are found out.
    void runOnce() {
        for (uint32 number = 0; number < cBlockCount; ++number) {
            mBlocks[number] = mSource.allocate(mSizes[number]);
            std::memcpy(mBlocks[number], &number, sizeof(number));
        }
        for (const uint32 number : mOrder) {
            uint32 kept;
            std::memcpy(&kept, mBlocks[number], sizeof(kept));
            mDifference |= kept ^ number;
            mSource.release(mBlocks[number], mSizes[number]);
        }
    }
    void verify() const { check(mDifference == 0, "two blocks overlap"); }

private:
    const Source& mSource;
    std::array<uint32, cBlockCount> mSizes{};
    std::array<uint32, cBlockCount> mOrder{};
    std::array<void*, cBlockCount> mBlocks{};
    uint32 mDifference = 0;
};

template <class Source>
void checkSource(const Source& source) {
    Shuffle<Source> shuffle(source, 0);
    shuffle.runOnce();
    shuffle.verify();
}

template <class Source>
void smallBlocks(benchmark::State& state, const Source& source) {
    checkSource(source);
    for (auto _ : state)
        pairOnce(source);
}

template <class Source>
void smallBlocksOnTwoThreads(benchmark::State& state, const Source& source) {
    checkSource(source);
    contend(state, [&](uint32) { pairOnce(source); });
}

template <class Source>
void shuffledBlocks(benchmark::State& state, const Source& source) {
    Shuffle<Source> shuffle(source, 1);
    for (auto _ : state)
        shuffle.runOnce();
    countOperations(state, cBlockCount);
    shuffle.verify();
}

template <class Source>
void shuffledBlocksOnTwoThreads(benchmark::State& state, const Source& source) {
    Shuffle<Source> shuffles[] = {Shuffle<Source>(source, 1), Shuffle<Source>(source, 2)};
    contend(state, [&](uint32 thread) { shuffles[thread].runOnce(); });
    state.counters["operations"].value *= cBlockCount;
    for (const Shuffle<Source>& shuffle : shuffles)
        shuffle.verify();
}

} // namespace

std::vector<Case> allocatorCases() {
    const auto mimalloc = openForeignAllocator("libmimalloc.so.2", "mi_malloc", "mi_free");
    const auto jemalloc = openForeignAllocator("libjemalloc.so.2", "malloc", "free");
    const auto makeCase = [&](const char* name, auto work) {
        Case made{name, [work](benchmark::State& state) { work(state, Ours()); }, {}};
        made.peers.push_back(
            {"boost pool + mutex", 1.0, [work](benchmark::State& state) { work(state, LockedPools()); }});
        if (mimalloc)
            made.peers.push_back({"mimalloc", 0, [work, foreign = *mimalloc](benchmark::State& state) {
                                      work(state, Foreign{foreign});
                                  }});
        if (jemalloc)
            made.peers.push_back({"jemalloc", 0, [work, foreign = *jemalloc](benchmark::State& state) {
                                      work(state, Foreign{foreign});
                                  }});
        return made;
    };
    return {
        makeCase("allocator/24-bytes", [](auto& state, const auto& source) { smallBlocks(state, source); }),
        makeCase("allocator/24-bytes-two-threads",
                 [](auto& state, const auto& source) { smallBlocksOnTwoThreads(state, source); }),
        makeCase("allocator/shuffled", [](auto& state, const auto& source) { shuffledBlocks(state, source); }),
        makeCase("allocator/shuffled-two-threads",
                 [](auto& state, const auto& source) { shuffledBlocksOnTwoThreads(state, source); }),
    };
}

} // namespace Tarq::Bench
