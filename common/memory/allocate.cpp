#include "common/memory/allocate.h"

#include "common/memory/memoryexception.h"

namespace Tarq::Common::Memory {

void throwOutOfMemory() {
    throw new OutOfMemoryException();
}

void* allocateBytesSlowly(Allocator* allocator, std::size_t size) {
    // An allocator that was asked already and had nothing is not asked again.
    if (!allocator) {
        if (void* block = ::operator new(size, std::nothrow))
            return block;
    }
    throwOutOfMemory();
}

void* allocateBytesOrBadAlloc(const AllocatorPtr& allocator, std::size_t size) {
    try {
        return allocateBytes(allocator, size);
    } catch (OutOfMemoryException* exception) {
        delete exception;
    }
    throw std::bad_alloc();
}

} // namespace Tarq::Common::Memory
