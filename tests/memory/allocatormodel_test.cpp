#include "common/callback/callbackallocator.h"
#include "common/memory/defaultallocator.h"
#include "common/memory/freelistallocator.h"
#include "common/memory/threadsafeallocator.h"

#include "tests/support/librarytest.h"

#include <mutex>
#include <random>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Memory;

namespace {

constexpr unsigned int cSpins = Threading::cSpinCount;

/// A block that knows what is in it, to its last byte.
struct Block {
    std::byte* bytes;
    uint32 size;
    uint32 key;

    std::byte byteAt(uint32 at) const { return static_cast<std::byte>((key + at) * 2654435761u >> 24); }
    void fill() const {
        for (uint32 at = 0; at < size; ++at)
            bytes[at] = byteAt(at);
    }
    bool isIntact() const {
        for (uint32 at = 0; at < size; ++at) {
            if (bytes[at] != byteAt(at))
                return false;
        }
        return true;
    }
};

/// Blocks that change hands, so that one thread frees what another took.
class Exchange {
public:
    Block swap(const Block& mine, std::size_t at) {
        const std::scoped_lock inside(mMutex);
        return std::exchange(mBlocks[at % mBlocks.size()], mine);
    }
    std::vector<Block> mBlocks{64, Block{nullptr, 0, 0}};

private:
    std::mutex mMutex;
};

/// Random allocations and frees of every class. A block that overlaps another one has its bytes overwritten by it.
class Model {
public:
    Model(const AllocatorPtr& allocator, Exchange& exchange, uint32 seed)
        : mAllocator(allocator), mExchange(exchange), mRandom(seed) {}

    void run(int steps) {
        for (; steps != 0; --steps) {
            // The number of living blocks wanders between none and two thousand.
            if (mRandom() % 2000 >= mBlocks.size())
                take();
            else
                giveBack(mRandom() % mBlocks.size());
        }
        while (!mBlocks.empty())
            giveBack(mBlocks.size() - 1);
    }
    void release(const Block& block) {
        mIsRight &= block.isIntact();
        mAllocator->free(block.bytes);
    }
    bool isRight() const { return mIsRight; }

private:
    void take() {
        const auto choice = mRandom() % 64;
        const auto size = static_cast<uint32>(choice == 0 ? mRandom() % 5000 : mRandom() % 264);
        const Block block{static_cast<std::byte*>(mAllocator->alloc(size)), size, static_cast<uint32>(mRandom())};
        const auto address = reinterpret_cast<std::uintptr_t>(block.bytes);
        const bool needsWords = size != 0 && size % sizeof(void*) == 0;
        mIsRight &= block.bytes && address % (needsWords ? sizeof(void*) : 4) == 0;
        block.fill();
        mBlocks.push_back(block);
    }
    void giveBack(std::size_t at) {
        std::swap(mBlocks[at], mBlocks.back());
        release(mRandom() % 8 == 0 ? mExchange.swap(mBlocks.back(), mRandom()) : mBlocks.back());
        mBlocks.pop_back();
    }

    AllocatorPtr mAllocator;
    Exchange& mExchange;
    std::minstd_rand mRandom;
    std::vector<Block> mBlocks;
    bool mIsRight = true;
};

bool runModel(const AllocatorPtr& allocator, int threads, int steps) {
    Exchange exchange;
    std::vector<Model> models;
    for (int at = 0; at < threads; ++at)
        models.emplace_back(allocator, exchange, static_cast<uint32>(1 + at));
    std::vector<std::thread> running;
    for (Model& model : models)
        running.emplace_back([&model, steps] { model.run(steps); });
    for (std::thread& thread : running)
        thread.join();
    for (const Block& block : exchange.mBlocks)
        models[0].release(block);
    return std::all_of(models.begin(), models.end(), [](const Model& model) { return model.isRight(); });
}

AllocatorPtr makeCallbackAllocator(const Callback::MemoryCallbackPtr& callback) {
    using Wrapped = ThreadSafeAllocWrapper<Callback::CallbackAllocator, cSpins>;
    return AllocatorPtr(::new (callback->allocate(sizeof(Wrapped))) Wrapped("Callback", callback));
}

} // namespace

TEST_CASE_FIXTURE(BareTest, "every allocator hands out blocks that are aligned, disjoint and keep their bytes") {
    const AllocatorPtr wholeHeap(new ThreadSafeAllocWrapper<DefaultAllocator, cSpins>("Default"));
    const AllocatorPtr callback = makeCallbackAllocator(getMemoryCallback());
    struct Case {
        const char* name;
        AllocatorPtr allocator;
        bool isThreadSafe;
    };
    const Case cases[] = {
        {"plain default", AllocatorPtr(new DefaultAllocator), false},
        {"plain free list", AllocatorPtr(new FreeListAllocator(callback)), false},
        {"wrapped default", wholeHeap, true},
        {"wrapped callback", callback, true},
        {"wrapped free list", AllocatorPtr(new ThreadSafeAllocWrapper<FreeListAllocator, cSpins>(callback)), true},
        {"thread-safe over a plain free list",
         AllocatorPtr(new ThreadSafeAllocator(AllocatorPtr(new FreeListAllocator(callback)))), true},
        {"free list over free list",
         AllocatorPtr(
             new ThreadSafeAllocWrapper<FreeListAllocator, cSpins>(AllocatorPtr(new FreeListAllocator(wholeHeap)))),
         true},
    };
    for (const Case& c : cases) {
        CAPTURE(c.name);
        CHECK(c.allocator->isThreadSafe() == c.isThreadSafe);
        CHECK(c.allocator->isUsable());
        CHECK(runModel(c.allocator, 1, 80000));
        if (c.isThreadSafe)
            CHECK(runModel(c.allocator, 3, 30000));
        // What the model gave back is unused, so that the next run begins on pages taken anew.
        c.allocator->freeUnusedMemory();
        CHECK(runModel(c.allocator, 1, 2000));
    }
}
