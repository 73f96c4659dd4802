#pragma once

#include "common/memory/allocator.h"

#include <type_traits>
#include <utility>

namespace Tarq::Common::Memory {

/// Makes the allocator `T` safe on several threads: a `T` whose operations enter a lock of their own.
///
/// A contending thread spins `SpinCount` times before it sleeps. Exhaustion is
/// reported after the lock has been left, so that the report may use this allocator.
template <class T, unsigned int SpinCount>
class ThreadSafeAllocWrapper final : public T {
    static_assert(std::is_same_v<decltype(&T::tryAlloc), void* (T::*)(uint32) noexcept>,
                  "T must tell exhaustion apart from reporting it: override tryAlloc, or use ThreadSafeAllocator");

public:
    template <class... Arguments>
    explicit ThreadSafeAllocWrapper(Arguments&&... arguments) noexcept
        : T(std::forward<Arguments>(arguments)...), mLock(SpinCount) {}

    bool isThreadSafe() const override { return true; }

    /// Locked as well: other threads may go on meanwhile.
    uint32 freeUnusedMemory() override {
        const Threading::ScopedLock inside(mLock);
        return T::freeUnusedMemory();
    }

    // Flattened: what is done inside the lock is a few instructions, which a call would double.

    [[gnu::flatten]] void* alloc(uint32 size) override {
        if (void* block = ThreadSafeAllocWrapper::tryAlloc(size)) [[likely]]
            return block;
        T::reportExhausted(size);
        return nullptr;
    }

    [[gnu::flatten]] void* tryAlloc(uint32 size) noexcept override {
        const Threading::ScopedLock inside(mLock);
        return T::tryAlloc(size);
    }

    [[gnu::flatten]] void free(void* block) override {
        const Threading::ScopedLock inside(mLock);
        T::free(block);
    }

private:
    Threading::SpinLock mLock;
};

} // namespace Tarq::Common::Memory
