#include "common/memory/threadsafeallocator.h"

#include "common/memory/internal/globalheap.h"

namespace Tarq::Common::Memory {

ThreadSafeAllocator::ThreadSafeAllocator(const AllocatorPtr& wrapped, const AllocatorPtr& owner) noexcept
    : Allocator("ThreadSafe", owner), mWrapped(orGlobalHeap(wrapped)), mLock(Threading::cSpinCount) {}

ThreadSafeAllocator::~ThreadSafeAllocator() = default;

bool ThreadSafeAllocator::isUsable() const {
    return mWrapped->isUsable();
}

bool ThreadSafeAllocator::isThreadSafe() const {
    return true;
}

uint32 ThreadSafeAllocator::freeUnusedMemory() {
    return mWrapped->freeUnusedMemory();
}

void* ThreadSafeAllocator::alloc(uint32 size) {
    if (void* block = tryAlloc(size))
        return block;
    mWrapped->reportExhausted(size);
    return nullptr;
}

void ThreadSafeAllocator::free(void* block) {
    if (!block)
        return;
    const Threading::ScopedLock inside(mLock);
    mWrapped->free(block);
}

void* ThreadSafeAllocator::tryAlloc(uint32 size) noexcept {
    const Threading::ScopedLock inside(mLock);
    return mWrapped->tryAlloc(size);
}

void ThreadSafeAllocator::reportExhausted(uint32 size) {
    mWrapped->reportExhausted(size);
}

} // namespace Tarq::Common::Memory
