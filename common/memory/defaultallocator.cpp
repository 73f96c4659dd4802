#include "common/memory/defaultallocator.h"

#include "common/memory/allocate.h"
#include "common/memory/internal/globalheap.h"
#include "common/utility/neverdestroyed.h"

namespace Tarq::Common::Memory {

namespace {

/// Safe on several threads, as the global heap is: it has nothing of its own.
struct GlobalHeap {
    DefaultAllocator allocator;
    AllocatorPtr pointer{&allocator};
};

} // namespace

const AllocatorPtr& orGlobalHeap(const AllocatorPtr& allocator) noexcept {
    if (allocator)
        return allocator;
    static NeverDestroyed<GlobalHeap> heap;
    return heap.get().pointer;
}

DefaultAllocator::DefaultAllocator(const char* name, const AllocatorPtr& owner) noexcept : Allocator(name, owner) {}

DefaultAllocator::~DefaultAllocator() = default;

void* DefaultAllocator::alloc(uint32 size) {
    if (void* block = DefaultAllocator::tryAlloc(size))
        return block;
    throwOutOfMemory();
}

void DefaultAllocator::free(void* block) {
    ::operator delete(block);
}

void* DefaultAllocator::tryAlloc(uint32 size) noexcept {
    return ::operator new(size, std::nothrow);
}

void DefaultAllocator::reportExhausted(uint32) {
    throwOutOfMemory();
}

} // namespace Tarq::Common::Memory
