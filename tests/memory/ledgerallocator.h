#pragma once

#include "common/memory/allocate.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <vector>

namespace Tarq::Test {

using Common::uint32;

/// A host's own allocator, which overrides no more than it must, and keeps a ledger: what it was asked for, what is
/// outstanding, in which order blocks came back, and whether two threads ever were inside at once.
class LedgerAllocator : public Common::Memory::Allocator {
public:
    enum Exhaustion { EXHAUSTION_NULL, EXHAUSTION_THROW };

    explicit LedgerAllocator(Exhaustion exhaustion = EXHAUSTION_NULL) : Allocator("Ledger"), mExhaustion(exhaustion) {}

    void* alloc(uint32 size) override {
        const std::unique_lock inside = enter();
        mAsked.push_back(size);
        if (mLeft == 0) {
            if (mExhaustion == EXHAUSTION_THROW)
                Common::Memory::throwOutOfMemory();
            return nullptr;
        }
        mLeft -= mLeft > 0;
        mOutstanding.push_back(std::malloc(size));
        return mOutstanding.back();
    }
    void free(void* block) override {
        const std::unique_lock inside = enter();
        std::erase(mOutstanding, block);
        mReturned.push_back(block);
        std::free(block);
    }

    std::vector<uint32> mAsked;
    std::vector<void*> mOutstanding; ///< the oldest first
    std::vector<void*> mReturned;    ///< in the order in which they came
    std::atomic<int> mLeft{-1};      ///< grants this many blocks more; all when negative
    std::atomic<bool> mWasShared{false};

private:
    std::unique_lock<std::recursive_mutex> enter() {
        std::unique_lock inside(mMutex, std::try_to_lock);
        if (!inside)
            mWasShared = true;
        return inside;
    }

    Exhaustion mExhaustion;
    std::recursive_mutex mMutex;
};

} // namespace Tarq::Test
