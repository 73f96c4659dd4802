#include "common/memory/memoryexception.h"

#include "common/memory/internal/managedblock.h"
#include "common/memory/internal/reserveallocator.h"
#include "common/platform/callstack.h"

namespace Tarq::Common::Memory {

MemoryException::MemoryException(const String& message) : Exception(message) {}

MemoryException::MemoryException(const char* message, const AllocatorPtr& allocator) : Exception(message, allocator) {}

MemoryException::~MemoryException() = default;

OutOfMemoryException::OutOfMemoryException() : MemoryException("No Memory available", getReserveAllocator()) {}

OutOfMemoryException::~OutOfMemoryException() = default;

String OutOfMemoryException::getExceptionName() const {
    return "OutOfMemoryException";
}

[[gnu::noinline]] void* OutOfMemoryException::operator new(std::size_t size) {
    void* const object = newManagedBlock(size, getReserveAllocator());
    Debug::CallStackRecord::announce(object, Platform::getFrameEnd(), Platform::getReturnAddress());
    return object;
}

void OutOfMemoryException::operator delete(void* object) noexcept {
    Debug::CallStackRecord::forget(object);
    deleteManagedBlock(object);
}

} // namespace Tarq::Common::Memory
