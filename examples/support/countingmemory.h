#pragma once

#include "common/callback/memorycallback.h"

#include <cstddef>
#include <cstdlib>

/// A host's memory that knows what the library has taken: in all, at the most at one time, and now.
class CountingMemory : public Tarq::Common::Callback::MemoryCallback {
public:
    void* allocate(Tarq::Common::uint32 size) override {
        void* const block = std::malloc(cHeaderSize + size);
        if (!block)
            return nullptr;
        *static_cast<Tarq::Common::uint32*>(block) = size;
        mTaken += size;
        mOutstanding += size;
        mPeak = mOutstanding > mPeak ? mOutstanding : mPeak;
        return static_cast<std::byte*>(block) + cHeaderSize;
    }

    void free(void* block) override {
        if (!block)
            return;
        void* const whole = static_cast<std::byte*>(block) - cHeaderSize;
        mOutstanding -= *static_cast<Tarq::Common::uint32*>(whole);
        std::free(whole);
    }

    // In bytes. The library calls on one thread at a time, so plain numbers do.

    Tarq::Common::uint64 getTaken() const { return mTaken; }
    Tarq::Common::uint64 getPeak() const { return mPeak; }
    Tarq::Common::uint64 getOutstanding() const { return mOutstanding; }

private:
    /// The size of a block stands in front of it, and leaves it aligned.
    static constexpr std::size_t cHeaderSize = alignof(std::max_align_t);

    Tarq::Common::uint64 mTaken = 0;
    Tarq::Common::uint64 mPeak = 0;
    Tarq::Common::uint64 mOutstanding = 0;
};
