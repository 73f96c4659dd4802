#include "common/memory/defaultallocator.h"

#include "common/memory/allocate.h"

namespace Tarq::Common::Memory {

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
