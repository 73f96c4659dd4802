#pragma once

#include "common/memory/allocatorptr.h"

#include <new>

namespace Tarq::Common::Memory {

/// A source of memory. Every byte that the library takes comes through one of these.
///
/// Threads: an allocator is safe on several threads only where `isThreadSafe` says so; pointers to it may be copied and
/// dropped on any thread. Ownership: held through `AllocatorPtr`; the last pointer that goes deletes it, and its own
/// bytes go back to the allocator they came from. Every block goes back to the allocator that gave it, before that
/// allocator dies.
///
/// A new kind of allocator overrides `alloc` and `free`. Its `alloc` throws nothing but `throwOutOfMemory()`, and makes
/// no other exception on the library's allocators: it may run inside a lock that one of those waits for.
/// One that can tell exhaustion apart from reporting it overrides `tryAlloc` and `reportExhausted` too; whoever holds a
/// lock asks through those, and reports when it has let go. Without these, whatever `alloc` throws arrives as an
/// `OutOfMemoryException` there.
class TARQ_API Allocator : public LockedReferenceCounted {
public:
    /// `name` keeps its first 14 characters; null is the empty name. `owner` is the allocator whose memory holds this
    /// object, empty for the global heap.
    explicit Allocator(const char* name, const AllocatorPtr& owner = AllocatorPtr()) noexcept;
    ~Allocator() override;

    /// True for every allocator of this library.
    virtual bool isUsable() const;
    virtual bool isThreadSafe() const;
    /// Gives memory that is held but unused back to where it came from and returns an amount; 0 here.
    virtual uint32 freeUnusedMemory();
    /// Returns `size` bytes aligned to 8 (to 4 where pointers have 4 bytes) if `size` is a multiple of that. When there
    /// are none, it returns null or throws, as the class says; `allocateBytes` always throws then.
    virtual void* alloc(uint32 size) = 0;
    /// Takes back what `alloc` gave.
    virtual void free(void* block) = 0;

    /// Like `alloc`, but exhaustion is null and nothing else: no exception, no assertion.
    virtual void* tryAlloc(uint32 size) noexcept;
    /// After a `tryAlloc` of this thread that had nothing: does what `alloc` does in place of returning memory, that is
    /// throws, or asserts, or nothing (`alloc` then returns null). Takes no lock and needs none.
    virtual void reportExhausted(uint32 size);

    const char* getName() const noexcept { return mName; }

    static void operator delete(Allocator* self, std::destroying_delete_t);

private:
    AllocatorPtr mAllocator;
    char mName[15];
};

} // namespace Tarq::Common::Memory
