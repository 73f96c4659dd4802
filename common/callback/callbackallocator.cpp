#include "common/callback/callbackallocator.h"

namespace Tarq::Common::Callback {

CallbackAllocator::CallbackAllocator(const char* name, const MemoryCallbackPtr& callback) noexcept
    : Allocator(name), mCallback(callback) {}

CallbackAllocator::~CallbackAllocator() = default;

void* CallbackAllocator::alloc(uint32 size) {
    return CallbackAllocator::tryAlloc(size);
}

void CallbackAllocator::free(void* block) {
    mCallback->free(block);
}

void* CallbackAllocator::tryAlloc(uint32 size) noexcept {
    try {
        return mCallback->allocate(size);
    } catch (...) {
        return nullptr;
    }
}

void CallbackAllocator::reportExhausted(uint32) {}

void CallbackAllocator::operator delete(CallbackAllocator* self, std::destroying_delete_t) {
    const MemoryCallbackPtr callback = self->mCallback;
    void* const address = dynamic_cast<void*>(self);
    self->~CallbackAllocator();
    callback->free(address);
}

} // namespace Tarq::Common::Callback
