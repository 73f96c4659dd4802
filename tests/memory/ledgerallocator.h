#pragma once

#include "common/memory/allocate.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <vector>

namespace Tarq::Test {

using Common::uint32;

/// A host's own allocator, which overrides no more than it must, and keeps a ledger: what it was asked for, what is
/// outstanding, in which order blocks came back, and whether two threads ever were inside at once.
class LedgerAllocator : public Common::Memory::Allocator {
public:
    enum Exhaustion { EXHAUSTION_NULL, EXHAUSTION_THROW };

    explicit LedgerAllocator(Exhaustion exhaustion = EXHAUSTION_NULL) : Allocator("Ledger"), mExhaustion(exhaustion) {}
    ~LedgerAllocator() override {
        if (mIsGone)
            *mIsGone = true;
    }

    void* alloc(uint32 size) override {
        const Inside inside(*this);
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
        const Inside inside(*this);
        std::erase(mOutstanding, block);
        mReturned.push_back(block);
        std::free(block);
    }

    std::vector<uint32> mAsked;
    std::vector<void*> mOutstanding; ///< the oldest first
    std::vector<void*> mReturned;    ///< in the order in which they came
    std::atomic<int> mLeft{-1};      ///< grants this many blocks more; all when negative
    std::atomic<bool> mWasShared{false};
    bool* mIsGone = nullptr;

private:
    struct Inside {
        explicit Inside(LedgerAllocator& allocator) : mAllocator(allocator) {
            if (mAllocator.mEntered.fetch_add(1) != 0)
                mAllocator.mWasShared = true;
        }
        ~Inside() { --mAllocator.mEntered; }
        LedgerAllocator& mAllocator;
    };

    Exhaustion mExhaustion;
    std::atomic<int> mEntered{0};
};

} // namespace Tarq::Test
