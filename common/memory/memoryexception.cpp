#include "common/memory/memoryexception.h"

#include "common/memory/internal/managedblock.h"
#include "common/memory/internal/reserveallocator.h"

namespace Tarq::Common::Memory {

MemoryException::MemoryException(const String& message) : Exception(message) {}

MemoryException::MemoryException(const char* message, const AllocatorPtr& allocator) : Exception(message, allocator) {}

MemoryException::~MemoryException() = default;

OutOfMemoryException::OutOfMemoryException() : MemoryException("No Memory available", getReserveAllocator()) {}

OutOfMemoryException::~OutOfMemoryException() = default;

String OutOfMemoryException::getExceptionName() const {
    return "OutOfMemoryException";
}

void* OutOfMemoryException::operator new(std::size_t size) {
    return newManagedBlock(size, getReserveAllocator());
}

void OutOfMemoryException::operator delete(void* object) noexcept {
    deleteManagedBlock(object);
}

} // namespace Tarq::Common::Memory
