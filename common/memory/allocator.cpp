#include "common/memory/allocator.h"

#include "common/exceptions/exception.h"

#include <algorithm>
#include <cstring>

namespace Tarq::Common::Memory {

Allocator::Allocator(const char* name, const AllocatorPtr& owner) noexcept : mAllocator(owner), mName{} {
    if (name)
        std::memcpy(mName, name, strnlen(name, sizeof(mName) - 1));
}

Allocator::~Allocator() = default;

bool Allocator::isUsable() const {
    return true;
}

bool Allocator::isThreadSafe() const {
    return false;
}

uint32 Allocator::freeUnusedMemory() {
    return 0;
}

void* Allocator::tryAlloc(uint32 size) noexcept {
    try {
        return alloc(size);
    } catch (Exceptions::Exception* exception) {
        delete exception;
    } catch (...) {
        // Whatever it was, there is no memory; `reportExhausted` lets it happen again where it may pass on.
    }
    return nullptr;
}

void Allocator::reportExhausted(uint32 size) {
    if (void* block = alloc(size))
        free(block);
}

void Allocator::operator delete(Allocator* self, std::destroying_delete_t) {
    const AllocatorPtr owner = self->mAllocator;
    void* const address = dynamic_cast<void*>(self);
    self->~Allocator();
    if (owner)
        owner->free(address);
    else
        ::operator delete(address);
}

} // namespace Tarq::Common::Memory
