#pragma once

#include "common/memory/allocator.h"
#include "common/memory/threadsafeallocwrapper.h"

namespace Tarq::Common::Memory {

/// An allocator with size classes: small blocks are slots of 16 KiB pages, one list operation each. Named "FreeList".
///
/// Class `c` = size / 4 + 1 holds 4 * c bytes (a word at least, for the link). Sizes of class 64 and above, that is
/// from 252 bytes on, come straight from the parent. Free slots of a class form one list, last freed first.
///
/// Bytes:
///
///     page    next page (a pointer) | block count (16 bits) | size class (16 bits) | slots back to back
///     slot    header (4 bytes) | payload
///     large   header (4 bytes, 0), right before the payload | payload
///
/// The header names the page: by its address where addresses have 4 bytes, by the distance back to it where they
/// have 8. With 8-byte addresses a large block's header ends a 16-byte prefix, so that the payload keeps the parent's
/// alignment, and every payload whose size is a multiple of 8 is aligned to 8.
///
/// Pages go back to the parent in `freeUnusedMemory` and in the destructor only. Large blocks are not tracked: they are
/// freed before the allocator dies.
///
/// Exhausted, it does what its parent does (throws, if that throws). If the parent only has nothing, a small block
/// asserts "Cannot allocate memory block of size: ..." and is null; a large block is null.
///
/// Threads: one at a time; the library wraps it (`ThreadSafeAllocWrapper`), hosts may use it plain on one thread.
class TARQ_API FreeListAllocator : public Allocator {
public:
    /// `parent` gives pages and large blocks; `owner` is the allocator that holds this object's own bytes. Either is
    /// the global heap when empty.
    explicit FreeListAllocator(const AllocatorPtr& parent, const AllocatorPtr& owner = AllocatorPtr()) noexcept;
    ~FreeListAllocator() override;

    /// Gives every page without a block in use back to the parent; returns the sum of those pages' slot sizes.
    uint32 freeUnusedMemory() override;
    void* alloc(uint32 size) override;
    /// Ignores null.
    void free(void* block) override;
    void* tryAlloc(uint32 size) noexcept override;
    [[gnu::noinline]] void reportExhausted(uint32 size) override;

private:
    struct Page;
    static constexpr uint32 cClassCount = 64;

    [[gnu::noinline]] bool addPage(uint32 sizeClass) noexcept;
    [[gnu::noinline]] void* tryAllocLarge(uint32 size) noexcept;
    void unlinkBlocksOfUnusedPages(uint32 sizeClass) noexcept;

    AllocatorPtr mParent;
    void* mFreeBlocks[cClassCount] = {};
    Page* mPages = nullptr;
};

extern template class TARQ_API ThreadSafeAllocWrapper<FreeListAllocator, Threading::cSpinCount>;

} // namespace Tarq::Common::Memory
