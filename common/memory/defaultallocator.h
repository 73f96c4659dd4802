#pragma once

#include "common/memory/allocator.h"

namespace Tarq::Common::Memory {

/// The global heap as an allocator. Exhausted, it throws `OutOfMemoryException`, message "No Memory available".
///
/// Threads: one at a time, as every plain allocator; the library wraps it (`ThreadSafeAllocWrapper`).
class TARQ_API DefaultAllocator : public Allocator {
public:
    explicit DefaultAllocator(const char* name = "Default", const AllocatorPtr& owner = AllocatorPtr()) noexcept;
    ~DefaultAllocator() override;

    void* alloc(uint32 size) override;
    void free(void* block) override;
    void* tryAlloc(uint32 size) noexcept override;
    void reportExhausted(uint32 size) override;
};

} // namespace Tarq::Common::Memory
