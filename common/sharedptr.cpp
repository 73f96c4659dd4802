#include "common/sharedptr.h"

#include "common/library.h"
#include "common/memory/allocate.h"

#include <new>

namespace Tarq::Common {

struct SimpleReferenceCount::Block {
    ReferenceCounter count{1};
    Memory::AllocatorPtr allocator;
};

SimpleReferenceCount::Block* SimpleReferenceCount::acquireFirst() {
    const Memory::AllocatorPtr& allocator = Library::getTempAlloc();
    Block* block = ::new (Memory::allocateBytes(allocator, sizeof(Block))) Block;
    block->allocator = allocator;
    return block;
}

void SimpleReferenceCount::increment(Block* block) noexcept {
    block->count.increment();
}

bool SimpleReferenceCount::decrement(Block* block) noexcept {
    if (!block->count.decrement())
        return false;
    const Memory::AllocatorPtr allocator = std::move(block->allocator);
    block->~Block();
    Memory::releaseBytes(allocator, block);
    return true;
}

int32 SimpleReferenceCount::get(const Block* block) noexcept {
    return block->count.get();
}

} // namespace Tarq::Common
