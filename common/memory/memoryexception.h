#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Memory {

/// Base of what goes wrong with memory. Not raised by itself.
class TARQ_API MemoryException : public Exceptions::Exception {
public:
    explicit MemoryException(const String& message);
    ~MemoryException() override;

protected:
    MemoryException(const char* message, const AllocatorPtr& allocator);
};

/// There is no memory left, or more was asked for than an allocator can give. Message: "No Memory available".
///
/// Makes itself in a reserve when the exception allocator has nothing left either. One reserve serves the process; it
/// holds some dozens of these exceptions, and deleting one makes its place free again. Those beyond are made on the
/// global heap. When that is empty too, "No Memory available" is asserted, and the process ends when the callback
/// returns.
class TARQ_API OutOfMemoryException : public MemoryException {
public:
    OutOfMemoryException();
    ~OutOfMemoryException() override;
    String getExceptionName() const override;

    static void* operator new(std::size_t size);
    static void operator delete(void* object) noexcept;
};

} // namespace Tarq::Common::Memory
