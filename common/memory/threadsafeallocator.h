#pragma once

#include "common/memory/allocator.h"

namespace Tarq::Common::Memory {

/// Makes an existing allocator safe on several threads, as long as everybody goes through this one. Named "ThreadSafe".
///
/// Holds a counted pointer to the allocator that it wraps. Exhaustion is what the wrapped allocator makes of it,
/// reported after the lock has been left.
class TARQ_API ThreadSafeAllocator final : public Allocator {
public:
    /// An empty pointer stands for the global heap.
    explicit ThreadSafeAllocator(const AllocatorPtr& wrapped, const AllocatorPtr& owner = AllocatorPtr()) noexcept;
    ~ThreadSafeAllocator() override;

    bool isUsable() const override;
    bool isThreadSafe() const override;
    /// Not locked: call it while no other thread uses the wrapped allocator.
    uint32 freeUnusedMemory() override;
    void* alloc(uint32 size) override;
    /// Ignores null.
    void free(void* block) override;
    void* tryAlloc(uint32 size) noexcept override;
    /// Reports for the wrapped allocator, not locked.
    void reportExhausted(uint32 size) override;

private:
    AllocatorPtr mWrapped;
    Threading::SpinLock mLock;
};

} // namespace Tarq::Common::Memory
