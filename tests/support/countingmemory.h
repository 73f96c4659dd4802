#pragma once

#include "common/callback/memorycallback.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>

namespace Tarq::Test {

/// Host memory that knows what is outstanding, and can be told to run out.
class CountingMemory : public Common::Callback::MemoryCallback {
public:
    void* allocate(Common::uint32 size) override {
        if (mLeftBeforeFailure.load() >= 0 && mLeftBeforeFailure.fetch_sub(1) <= 0) {
            mLeftBeforeFailure = 0;
            ++mRefused;
            return nullptr;
        }
        void* const block = std::malloc(size + cHeaderSize);
        *static_cast<Common::uint32*>(block) = size;
        mBytes += size;
        ++mBlocks;
        ++mTaken;
        return static_cast<std::byte*>(block) + cHeaderSize;
    }

    void free(void* block) override {
        ++mFreed;
        if (!block)
            return;
        void* const whole = static_cast<std::byte*>(block) - cHeaderSize;
        mBytes -= *static_cast<Common::uint32*>(whole);
        --mBlocks;
        std::free(whole);
    }

    /// Grants `count` more blocks, then none until `failNever`.
    void failAfter(Common::int64 count) { mLeftBeforeFailure = count; }
    void failNever() { mLeftBeforeFailure = -1; }

    Common::int64 getBytes() const { return mBytes; }
    Common::int64 getBlocks() const { return mBlocks; }
    Common::int64 getTaken() const { return mTaken; }
    Common::int64 getFreed() const { return mFreed; }
    Common::int64 getRefused() const { return mRefused; }

private:
    static constexpr std::size_t cHeaderSize = alignof(std::max_align_t);

    std::atomic<Common::int64> mBytes{0};
    std::atomic<Common::int64> mBlocks{0};
    std::atomic<Common::int64> mTaken{0}; ///< calls of `allocate` that were granted
    std::atomic<Common::int64> mFreed{0}; ///< calls of `free`, with null too
    std::atomic<Common::int64> mRefused{0};
    std::atomic<Common::int64> mLeftBeforeFailure{-1};
};

using CountingMemoryPtr = Common::Callback::CallbackPtr<CountingMemory>;

} // namespace Tarq::Test
