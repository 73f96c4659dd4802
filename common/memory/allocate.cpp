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

} // namespace Tarq::Common::Memory
