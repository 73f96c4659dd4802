#include "common/callback/callbackallocator.h"
#include "common/interface.h"
#include "common/memory/defaultallocator.h"
#include "common/memory/freelistallocator.h"
#include "common/memory/memoryexception.h"
#include "common/memory/threadsafeallocator.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Memory;

namespace {

template <class T>
using Wrapped = ThreadSafeAllocWrapper<T, Threading::cSpinCount>;

#ifdef TARQ_TEST_THREAD_SANITIZER
constexpr int cSteps = 100000;
#else
constexpr int cSteps = 1000000;
#endif

/// A block that is full of one byte: another one that overlaps it overwrites that.
struct Block {
    std::byte* bytes = nullptr;
    uint32 size = 0;
    std::byte content{};
};

/// Random allocations and frees of every class by several threads.
bool runModel(Allocator& allocator, uint32 threads, int steps) {
    std::atomic<bool> isRight = true;
    std::mutex mutex;
    std::vector<Block> exchange(64);
    const auto take = [&](std::minstd_rand& random) {
        const auto size = static_cast<uint32>(random() % 64 == 0 ? random() % 5000 : random() % 264);
        const Block block{static_cast<std::byte*>(allocator.alloc(size)), size, static_cast<std::byte>(random())};
        const std::size_t alignment = size != 0 && size % sizeof(void*) == 0 ? sizeof(void*) : 4;
        if (!block.bytes || reinterpret_cast<std::uintptr_t>(block.bytes) % alignment != 0)
            isRight = false;
        std::fill_n(block.bytes, size, block.content);
        return block;
    };
    const auto giveBack = [&](const Block& block) {
        if (!std::all_of(block.bytes, block.bytes + block.size, [&](std::byte each) { return each == block.content; }))
            isRight = false;
        allocator.free(block.bytes);
    };
    std::vector<std::thread> running;
    for (uint32 seed = 1; seed <= threads; ++seed)
        running.emplace_back([&, seed] {
            std::minstd_rand random(seed);
            std::vector<Block> blocks;
            for (int left = steps; left > 0 || !blocks.empty(); --left) {
                // The number of living blocks wanders between none and two thousand.
                if (left > 0 && random() % 2000 >= blocks.size()) {
                    blocks.push_back(take(random));
                    continue;
                }
                std::swap(blocks[random() % blocks.size()], blocks.back());
                if (random() % 8 == 0) {
                    // Some change hands, so that one thread frees what another took.
                    const std::scoped_lock inside(mutex);
                    std::swap(blocks.back(), exchange[random() % exchange.size()]);
                }
                giveBack(blocks.back());
                blocks.pop_back();
            }
        });
    for (std::thread& thread : running)
        thread.join();
    std::for_each(exchange.begin(), exchange.end(), giveBack);
    return isRight;
}

/// Needs the allocator it reports about: on another thread, which no lock of this one may stop.
class AllocatingAssertCallback : public Callback::AssertCallback {
public:
    explicit AllocatingAssertCallback(const AllocatorPtr& allocator) : mAllocator(allocator) {}
    void showAssert(const char*, const char*, unsigned int) override {
        std::thread([this] { mAllocator->free(mAllocator->alloc(8)); }).join();
        ++mShown;
    }
    AllocatorPtr mAllocator;
    int mShown = 0;
};

} // namespace

TEST_CASE_FIXTURE(BareTest, "an allocator's name keeps its first 14 characters") {
    const std::pair<const char*, std::string> names[] = {
        {nullptr, ""}, {"12345678901234", "12345678901234"}, {"123456789012345678", "12345678901234"}};
    for (const auto& [given, kept] : names)
        CHECK(DefaultAllocator(given).getName() == kept);
}

TEST_CASE_FIXTURE(BareTest, "the callback allocator passes everything on and returns its own bytes to the callback") {
    using Callback::CallbackAllocator;
    auto callback = getMemoryCallback();
    AllocatorPtr allocator(::new (callback->allocate(sizeof(CallbackAllocator))) CallbackAllocator("", callback));
    const auto freed = getMemory().getFreed();
    allocator->free(nullptr);
    CHECK(getMemory().getFreed() == freed + 1);
    getMemory().failAfter(1);
    allocator->free(allocator->alloc(77));
    CHECK(allocator->alloc(77) == nullptr);
    allocator.reset();
    CHECK(getMemory().getBytes() == 0);
    // One that throws has no memory.
    struct ThrowingMemory : CountingMemory {
        void* allocate(uint32 size) override { throw size; }
    };
    CHECK(CallbackAllocator("", Callback::MemoryCallbackPtr(new ThrowingMemory)).alloc(8) == nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "exhaustion is reported with no lock held") {
    const AllocatorPtr list = makeAllocator<Wrapped<FreeListAllocator>>(nullptr, Interface::getGlobalAllocator());
    const AllocatorPtr locked = makeAllocator<ThreadSafeAllocator>(nullptr, list);
    // Blocks of the class that the callback asks for, so that its own needs are met.
    list->free(list->alloc(8));
    for (const AllocatorPtr& exhausted : {list, locked}) {
        getMemory().failAfter(0);
        const auto previous = Interface::getAssertCallback();
        Callback::CallbackPtr<AllocatingAssertCallback> callback(new AllocatingAssertCallback(exhausted));
        Interface::setAssertCallback(callback);
        CHECK(exhausted->alloc(80) == nullptr);
        Interface::setAssertCallback(previous);
        CHECK(callback->mShown == 1);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a lock is left when memory runs out, and guards what is below it all the time") {
    for (const auto exhaustion : {LedgerAllocator::EXHAUSTION_NULL, LedgerAllocator::EXHAUSTION_THROW}) {
        auto& ledger = *new LedgerAllocator(exhaustion);
        const AllocatorPtr host(&ledger);
        for (const AllocatorPtr& locked : {makeAllocator<ThreadSafeAllocator>(nullptr, host),
                                           makeAllocator<Wrapped<FreeListAllocator>>(nullptr, host)}) {
            const auto body = [&] {
                for (int at = 0; at < 2000; ++at) {
                    ledger.mLeft = at % 3 == 0 ? 0 : -1;
                    try {
                        locked->free(locked->alloc(400));
                    } catch (OutOfMemoryException* exception) {
                        delete exception;
                    }
                }
            };
            std::thread other(body);
            body();
            other.join();
        }
        CHECK_FALSE(ledger.mWasShared);
        CHECK(ledger.mOutstanding.empty());
    }
}

TEST_CASE_FIXTURE(BareTest, "every allocator hands out blocks that are aligned, disjoint and keep their bytes") {
    using Callback::CallbackAllocator;
    void* const bytes = getMemory().allocate(sizeof(Wrapped<CallbackAllocator>));
    const AllocatorPtr callback(::new (bytes) Wrapped<CallbackAllocator>("Callback", getMemoryCallback()));
    const AllocatorPtr list = makeAllocator<FreeListAllocator>(callback, callback);
    const std::pair<const char*, AllocatorPtr> cases[] = {
        {"plain default", makeAllocator<DefaultAllocator>(nullptr, "Default")},
        {"plain free list", list},
        {"wrapped default", makeAllocator<Wrapped<DefaultAllocator>>(nullptr, "Default")},
        {"wrapped callback", callback},
        {"wrapped free list", makeAllocator<Wrapped<FreeListAllocator>>(callback, callback)},
        {"wrapped free list over nothing", makeAllocator<Wrapped<FreeListAllocator>>(nullptr, nullptr)},
        {"thread-safe over free list", makeAllocator<ThreadSafeAllocator>(callback, list)},
        {"thread-safe over nothing", makeAllocator<ThreadSafeAllocator>(nullptr, nullptr)},
    };
    for (const auto& c : cases) {
        CAPTURE(c.first);
        const AllocatorPtr& allocator = c.second;
        const uint32 threads = std::string(c.first).starts_with("plain") ? 1 : 4;
        CHECK(allocator->isThreadSafe() == (threads > 1));
        CHECK(allocator->isUsable());
        allocator->free(nullptr);
        CHECK(runModel(*allocator, threads, cSteps / static_cast<int>(threads)));
        // What the model gave back is unused, so that the next run begins on pages taken anew.
        allocator->freeUnusedMemory();
        CHECK(runModel(*allocator, 1, 2000));
    }
}
