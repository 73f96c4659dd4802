#include "common/memory/memorymanaged.h"

#include "common/library.h"
#include "common/memory/internal/managedblock.h"

namespace Tarq::Common::Memory {

MemoryManaged::MemoryManaged() {
    const AllocatorPtr* const holder = claimManagedBlock(this);
    mAllocator = holder ? *holder : Library::getTempAlloc();
}

MemoryManaged::~MemoryManaged() = default;

void* MemoryManaged::operator new(std::size_t size, const AllocatorPtr& allocator) {
    return newClaimableBlock(size, allocator);
}

void MemoryManaged::operator delete(void* object, const AllocatorPtr&) noexcept {
    deleteManagedBlock(object);
}

void MemoryManaged::operator delete(void* object) noexcept {
    deleteManagedBlock(object);
}

} // namespace Tarq::Common::Memory
