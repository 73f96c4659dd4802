#pragma once

#include "common/callback/memorycallback.h"
#include "common/memory/allocator.h"

namespace Tarq::Common::Callback {

/// The host's memory callback as an allocator: calls pass through unchanged, null in both directions included. One that
/// throws, which it should not, has no memory.
///
/// Lives in memory of the callback itself, which is where its bytes go back to.
class TARQ_API CallbackAllocator : public Memory::Allocator {
public:
    CallbackAllocator(const char* name, const MemoryCallbackPtr& callback) noexcept;
    ~CallbackAllocator() override;

    void* alloc(uint32 size) override;
    void free(void* block) override;
    void* tryAlloc(uint32 size) noexcept override;
    /// Nothing: null is the report.
    void reportExhausted(uint32 size) override;

    static void operator delete(CallbackAllocator* self, std::destroying_delete_t);

private:
    MemoryCallbackPtr mCallback;
};

} // namespace Tarq::Common::Callback
