#include "common/memory/internal/managedblock.h"

#include "common/memory/allocate.h"

#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace Tarq::Common::Memory {

namespace {

/// What stands in front of the object.
struct ManagedPrefix {
    AllocatorPtr allocator;
    ManagedPrefix* olderUnclaimed; ///< next in the chain of this thread's unclaimed blocks
    std::size_t objectSize;        ///< 0 once claimed, and where nobody claims
};

/// The claimable blocks whose objects this thread is about to construct, the youngest first. A chain, because the
/// arguments of a constructor may themselves be made with `new` between the taking of the block and the constructor's
/// start.
thread_local constinit ManagedPrefix* tUnclaimed = nullptr;

ManagedPrefix* prefixOf(void* object) noexcept {
    return static_cast<ManagedPrefix*>(object) - 1;
}

void* objectOf(ManagedPrefix* prefix) noexcept {
    return prefix + 1;
}

void unchain(ManagedPrefix** link) noexcept {
    ManagedPrefix* const prefix = *link;
    *link = prefix->olderUnclaimed;
    prefix->objectSize = 0;
}

} // namespace

void* newManagedBlock(std::size_t size, const AllocatorPtr& allocator) {
    if (size > std::numeric_limits<std::size_t>::max() - sizeof(ManagedPrefix))
        throwOutOfMemory();
    void* const memory = allocateBytes(allocator, size + sizeof(ManagedPrefix));
    return objectOf(::new (memory) ManagedPrefix{allocator, nullptr, 0});
}

void* newClaimableBlock(std::size_t size, const AllocatorPtr& allocator) {
    void* const object = newManagedBlock(size, allocator);
    ManagedPrefix* const prefix = prefixOf(object);
    prefix->olderUnclaimed = std::exchange(tUnclaimed, prefix);
    prefix->objectSize = size;
    return object;
}

void deleteManagedBlock(void* object) noexcept {
    ManagedPrefix* const prefix = prefixOf(object);
    if (prefix->objectSize != 0) {
        // The constructor never came: an argument threw before it started.
        for (ManagedPrefix** link = &tUnclaimed; *link; link = &(*link)->olderUnclaimed) {
            if (*link == prefix) {
                unchain(link);
                break;
            }
        }
    }
    const AllocatorPtr allocator = std::move(prefix->allocator);
    prefix->~ManagedPrefix();
    releaseBytes(allocator, prefix);
}

const AllocatorPtr* claimManagedBlock(const void* object) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    for (ManagedPrefix** link = &tUnclaimed; *link; link = &(*link)->olderUnclaimed) {
        ManagedPrefix* const prefix = *link;
        if (address - reinterpret_cast<std::uintptr_t>(objectOf(prefix)) >= prefix->objectSize)
            continue;
        unchain(link);
        return &prefix->allocator;
    }
    return nullptr;
}

} // namespace Tarq::Common::Memory
