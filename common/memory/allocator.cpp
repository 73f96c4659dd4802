#include "common/memory/allocator.h"

#include "common/exceptions/exception.h"
#include "common/memory/allocate.h"
#include "common/memory/internal/reserveallocator.h"

#include <cstring>
#include <utility>

namespace Tarq::Common::Memory {

namespace {

/// The allocator that has thrown when this thread last tried it.
thread_local constinit const Allocator* tThrower = nullptr;

} // namespace

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
    tThrower = nullptr;
    // The caller may hold a lock; what `alloc` throws is made and deleted without entering any other.
    const ReserveOnly exceptions;
    try {
        return alloc(size);
    } catch (Exceptions::Exception* exception) {
        delete exception;
    } catch (...) {
        // Whatever it was, there is no memory.
    }
    tThrower = this;
    return nullptr;
}

void Allocator::reportExhausted(uint32) {
    // `alloc` is not asked again: this runs outside the lock that may be what makes it safe.
    if (std::exchange(tThrower, nullptr) == this)
        throwOutOfMemory();
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
