#include "common/callback/callbackallocator.h"
#include "common/interface.h"
#include "common/memory/defaultallocator.h"
#include "common/memory/freelistallocator.h"
#include "common/memory/memoryexception.h"
#include "common/memory/threadsafeallocator.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <string>
#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Memory;

namespace {

using WrappedFreeList = ThreadSafeAllocWrapper<FreeListAllocator, 4000>;

/// Needs the allocator it reports about: on this thread and on another one.
class AllocatingAssertCallback : public Callback::AssertCallback {
public:
    explicit AllocatingAssertCallback(const AllocatorPtr& allocator) : mAllocator(allocator) {}
    void showAssert(const char*, const char*, unsigned int) override {
        mAllocator->free(mAllocator->alloc(8));
        std::thread([this] { mAllocator->free(mAllocator->alloc(8)); }).join();
        ++mShown;
    }
    AllocatorPtr mAllocator;
    int mShown = 0;
};

} // namespace

TEST_CASE_FIXTURE(BareTest, "an allocator's name keeps its first 14 characters") {
    const std::string fourteen = "12345678901234";
    CHECK(DefaultAllocator(nullptr).getName() == std::string());
    CHECK(DefaultAllocator("").getName() == std::string());
    CHECK(DefaultAllocator(fourteen.c_str()).getName() == fourteen);
    CHECK(DefaultAllocator((fourteen + "567890").c_str()).getName() == fourteen);
    const AllocatorPtr heap(new DefaultAllocator);
    CHECK(heap->getName() == std::string("Default"));
    CHECK(FreeListAllocator(heap).getName() == std::string("FreeList"));
    CHECK(ThreadSafeAllocator(heap).getName() == std::string("ThreadSafe"));
}

TEST_CASE_FIXTURE(BareTest, "an allocator's own bytes go back to where they came from") {
    bool isGone = false;
    auto& ledger = *new LedgerAllocator;
    ledger.mIsGone = &isGone;
    AllocatorPtr owner(&ledger);
    void* const bytes = owner->alloc(sizeof(ThreadSafeAllocator));
    AllocatorPtr locked(::new (bytes) ThreadSafeAllocator(owner, owner));
    owner.reset();
    CHECK_FALSE(isGone);
    locked.reset();
    CHECK(isGone);
}

TEST_CASE_FIXTURE(BareTest, "the callback allocator passes everything on and returns its own bytes to the callback") {
    using Callback::CallbackAllocator;
    auto callback = getMemoryCallback();
    AllocatorPtr allocator(::new (callback->allocate(sizeof(CallbackAllocator))) CallbackAllocator("", callback));
    CHECK(callback.getReferenceCount() == 3);
    const auto freed = getMemory().getFreed();
    allocator->free(nullptr);
    CHECK(getMemory().getFreed() == freed + 1);
    allocator->free(allocator->alloc(77));
    getMemory().failAfter(0);
    CHECK(allocator->alloc(77) == nullptr);
    allocator.reset();
    CHECK(getMemory().getBytes() == 0);
    CHECK(callback.getReferenceCount() == 2);
}

TEST_CASE_FIXTURE(LibraryTest, "null is nothing to free") {
    const auto freed = getMemory().getFreed();
    auto& ledger = *new LedgerAllocator;
    const AllocatorPtr host(&ledger);
    for (const AllocatorPtr& each :
         {allocator(), AllocatorPtr(new DefaultAllocator), AllocatorPtr(new ThreadSafeAllocator(host))})
        each->free(nullptr);
    CHECK(ledger.mReturned.empty());
    CHECK(getMemory().getFreed() == freed);
}

TEST_CASE_FIXTURE(LibraryTest, "exhaustion is reported with no lock held") {
    getMemory().failAfter(0);
    AllocatorPtr exhausted(new WrappedFreeList(Interface::getGlobalAllocator()));
    SUBCASE("a wrapped free list") {}
    SUBCASE("a locked allocator over it") {
        exhausted = AllocatorPtr(new ThreadSafeAllocator(exhausted));
    }
    // Blocks of the class that the callback asks for, so that its own needs are met.
    getMemory().failNever();
    exhausted->free(exhausted->alloc(8));
    getMemory().failAfter(0);
    const auto previous = Interface::getAssertCallback();
    Callback::CallbackPtr<AllocatingAssertCallback> callback(new AllocatingAssertCallback(exhausted));
    Interface::setAssertCallback(callback);
    CHECK(exhausted->alloc(80) == nullptr);
    Interface::setAssertCallback(previous);
    CHECK(callback->mShown == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "a lock is left when memory runs out, and guards what is below it all the time") {
    for (const auto exhaustion : {LedgerAllocator::EXHAUSTION_NULL, LedgerAllocator::EXHAUSTION_THROW}) {
        auto& ledger = *new LedgerAllocator(exhaustion);
        const AllocatorPtr host(&ledger);
        for (const AllocatorPtr& locked :
             {AllocatorPtr(new ThreadSafeAllocator(host)), AllocatorPtr(new WrappedFreeList(host))}) {
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
