#include "common/memory/freelistallocator.h"

#include "common/debug/assert.h"
#include "common/memory/internal/globalheap.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace Tarq::Common::Memory {

/// The head of a page. Slots begin right after its last field, inside what the compiler pads.
struct FreeListAllocator::Page {
    Page* next;
    uint16 blockCount; ///< between compactions: all blocks of the page; during one: those in use
    uint16 sizeClass;
};

namespace {

constexpr uint32 cLargestSize = std::numeric_limits<uint32>::max();
constexpr uint32 cPageSize = 16384;
constexpr uint32 cPageHeaderSize = sizeof(void*) + 2 * sizeof(uint16);
constexpr uint32 cSlotHeaderSize = sizeof(uint32);
constexpr uint32 cLargePrefixSize = sizeof(void*) == 4 ? cSlotHeaderSize : 16;

constexpr uint32 classOf(uint32 size) noexcept {
    return size / 4 + 1;
}

/// A payload is a link while it is free, so it has room for one.
constexpr uint32 slotSizeOf(uint32 sizeClass) noexcept {
    return std::max<uint32>(4 * sizeClass, sizeof(void*)) + cSlotHeaderSize;
}

constexpr uint32 blockCountOf(uint32 sizeClass) noexcept {
    return cPageSize / slotSizeOf(sizeClass);
}

constexpr uint32 pageSizeOf(uint32 sizeClass) noexcept {
    return blockCountOf(sizeClass) * slotSizeOf(sizeClass) + cPageHeaderSize;
}

static_assert(sizeof(void*) != 4 || (blockCountOf(classOf(8)) == 1024 && pageSizeOf(classOf(8)) == 16392));

std::byte* bytesOf(void* block) noexcept {
    return static_cast<std::byte*>(block);
}

// Slots are aligned to 4 only, so links and headers are copied in and out.

void* linkOf(const void* block) noexcept {
    void* next;
    std::memcpy(&next, block, sizeof(next));
    return next;
}

void setLink(void* block, void* next) noexcept {
    std::memcpy(block, &next, sizeof(next));
}

uint32 headerOf(void* block) noexcept {
    uint32 header;
    std::memcpy(&header, bytesOf(block) - cSlotHeaderSize, sizeof(header));
    return header;
}

void setHeader(void* block, uint32 header) noexcept {
    std::memcpy(bytesOf(block) - cSlotHeaderSize, &header, sizeof(header));
}

uint32 pageHeaderWord(const void* page, const std::byte* block) noexcept {
    if constexpr (sizeof(void*) == sizeof(uint32))
        return static_cast<uint32>(reinterpret_cast<std::uintptr_t>(page));
    else
        return static_cast<uint32>(block - cSlotHeaderSize - static_cast<const std::byte*>(page));
}

void* pageAddress(void* block, uint32 header) noexcept {
    if constexpr (sizeof(void*) == sizeof(uint32))
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(header));
    else
        return bytesOf(block) - cSlotHeaderSize - header;
}

} // namespace

FreeListAllocator::FreeListAllocator(const AllocatorPtr& parent, const AllocatorPtr& owner) noexcept
    : Allocator("FreeList", owner), mParent(orGlobalHeap(parent)) {}

FreeListAllocator::~FreeListAllocator() {
    while (mPages) {
        Page* const page = mPages;
        mPages = page->next;
        mParent->free(page);
    }
}

void* FreeListAllocator::alloc(uint32 size) {
    if (void* block = FreeListAllocator::tryAlloc(size))
        return block;
    FreeListAllocator::reportExhausted(size);
    return nullptr;
}

void* FreeListAllocator::tryAlloc(uint32 size) noexcept {
    const uint32 sizeClass = classOf(size);
    if (sizeClass >= cClassCount)
        return tryAllocLarge(size);
    void*& head = mFreeBlocks[sizeClass];
    if (!head && !addPage(sizeClass)) [[unlikely]]
        return nullptr;
    void* const block = head;
    head = linkOf(block);
    return block;
}

void FreeListAllocator::free(void* block) {
    if (!block)
        return;
    const uint32 header = headerOf(block);
    if (header == 0) {
        mParent->free(bytesOf(block) - cLargePrefixSize);
        return;
    }
    void*& head = mFreeBlocks[static_cast<Page*>(pageAddress(block, header))->sizeClass];
    setLink(block, head);
    head = block;
}

void FreeListAllocator::reportExhausted(uint32 size) {
    const uint32 sizeClass = classOf(size);
    if (sizeClass >= cClassCount) {
        mParent->reportExhausted(size + std::min(cLargePrefixSize, cLargestSize - size));
        return;
    }
    const uint32 pageSize = pageSizeOf(sizeClass);
    mParent->reportExhausted(pageSize);
    TARQ_ASSERT_AS("header", false, "Cannot allocate memory block of size: ", pageSize);
}

bool FreeListAllocator::addPage(uint32 sizeClass) noexcept {
    void* const memory = mParent->tryAlloc(pageSizeOf(sizeClass));
    if (!memory)
        return false;
    Page* const page = static_cast<Page*>(memory);
    page->next = mPages;
    page->blockCount = static_cast<uint16>(blockCountOf(sizeClass));
    page->sizeClass = static_cast<uint16>(sizeClass);
    mPages = page;

    void*& head = mFreeBlocks[sizeClass];
    std::byte* block = bytesOf(page) + cPageHeaderSize + cSlotHeaderSize;
    for (uint32 left = blockCountOf(sizeClass); left != 0; --left) {
        setHeader(block, pageHeaderWord(page, block));
        setLink(block, head);
        head = block;
        block += slotSizeOf(sizeClass);
    }
    return true;
}

void* FreeListAllocator::tryAllocLarge(uint32 size) noexcept {
    if (size > cLargestSize - cLargePrefixSize)
        return nullptr;
    void* const memory = mParent->tryAlloc(size + cLargePrefixSize);
    if (!memory)
        return nullptr;
    void* const block = bytesOf(memory) + cLargePrefixSize;
    setHeader(block, 0);
    return block;
}

uint32 FreeListAllocator::freeUnusedMemory() {
    for (void* head : mFreeBlocks) {
        for (void* block = head; block; block = linkOf(block))
            --static_cast<Page*>(pageAddress(block, headerOf(block)))->blockCount;
    }
    for (uint32 sizeClass = 0; sizeClass < cClassCount; ++sizeClass)
        unlinkBlocksOfUnusedPages(sizeClass);

    uint32 amount = 0;
    for (Page** link = &mPages; *link;) {
        Page* const page = *link;
        if (page->blockCount != 0) {
            page->blockCount = static_cast<uint16>(blockCountOf(page->sizeClass));
            link = &page->next;
            continue;
        }
        amount += slotSizeOf(page->sizeClass);
        *link = page->next;
        mParent->free(page);
    }
    return amount;
}

void FreeListAllocator::unlinkBlocksOfUnusedPages(uint32 sizeClass) noexcept {
    void* kept = nullptr;
    void* tail = nullptr;
    for (void* block = mFreeBlocks[sizeClass]; block;) {
        void* const next = linkOf(block);
        if (static_cast<Page*>(pageAddress(block, headerOf(block)))->blockCount != 0) {
            if (tail)
                setLink(tail, block);
            else
                kept = block;
            tail = block;
        }
        block = next;
    }
    if (tail)
        setLink(tail, nullptr);
    mFreeBlocks[sizeClass] = kept;
}

template class ThreadSafeAllocWrapper<FreeListAllocator, Threading::cSpinCount>;

} // namespace Tarq::Common::Memory
