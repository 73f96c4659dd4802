#include "common/memory/freelistallocator.h"

#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <cstring>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Memory::AllocatorPtr;
using Memory::FreeListAllocator;

namespace {

constexpr bool cIs32Bit = sizeof(void*) == 4;

/// A free-list allocator on the global heap, over a ledger.
struct Over {
    explicit Over(LedgerAllocator::Exhaustion exhaustion = LedgerAllocator::EXHAUSTION_NULL)
        : ledger(*new LedgerAllocator(exhaustion)), parent(&ledger), list(new FreeListAllocator(parent)) {}
    ~Over() {
        list.reset();
        CHECK(ledger.mOutstanding.empty());
    }

    LedgerAllocator& ledger;
    AllocatorPtr parent;
    AllocatorPtr list;
};

std::vector<std::byte*> take(const AllocatorPtr& list, uint32 size, uint32 count) {
    std::vector<std::byte*> blocks;
    while (blocks.size() < count)
        blocks.push_back(static_cast<std::byte*>(list->alloc(size)));
    return blocks;
}

void giveBack(const AllocatorPtr& list, const std::vector<std::byte*>& blocks) {
    for (std::byte* block : blocks)
        list->free(block);
}

uint32 headerOf(const std::byte* block) {
    uint32 header;
    std::memcpy(&header, block - sizeof(header), sizeof(header));
    return header;
}

uint32 headerFor(const void* page, const std::byte* block) {
    if (cIs32Bit)
        return static_cast<uint32>(reinterpret_cast<std::uintptr_t>(page));
    return static_cast<uint32>(block - 4 - static_cast<const std::byte*>(page));
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a page has the given size and hands out its slots from its end to its start") {
    struct Class {
        uint32 smallest, largest, slot, count, page32, page64;
    };
    for (const Class& c : {Class{0, 3, cIs32Bit ? 8u : 12u, cIs32Bit ? 2048u : 1365u, 16392, 16392},
                           Class{4, 7, 12, 1365, 16388, 16392}, Class{8, 11, 16, 1024, 16392, 16396},
                           Class{100, 103, 108, 151, 16316, 16320}, Class{248, 251, 256, 64, 16392, 16396}}) {
        CAPTURE(c.smallest);
        Over over;
        std::vector<std::byte*> blocks;
        for (uint32 at = 0; at < c.count; ++at)
            blocks.push_back(take(over.list, at % 2 == 0 ? c.smallest : c.largest, 1)[0]);
        REQUIRE(over.ledger.mAsked == std::vector<uint32>{cIs32Bit ? c.page32 : c.page64});

        const auto* const page = static_cast<const std::byte*>(over.ledger.mOutstanding[0]);
        CHECK(blocks.front() + c.slot - 4 == page + over.ledger.mAsked[0]);
        bool areInOrder = true;
        for (uint32 at = 0; at < c.count; ++at) {
            areInOrder &= blocks[at] == blocks[0] - std::size_t{c.slot} * at;
            areInOrder &= headerOf(blocks[at]) == headerFor(page, blocks[at]);
        }
        CHECK(areInOrder);

        blocks.push_back(take(over.list, c.largest, 1)[0]);
        CHECK(over.ledger.mAsked.size() == 2);
        giveBack(over.list, blocks);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a large block comes from the parent, with a header of 0 right before it") {
    Over over;
    std::byte* const block = take(over.list, 252, 1)[0];
    CHECK(over.ledger.mAsked == std::vector<uint32>{cIs32Bit ? 256u : 268u});
    CHECK(headerOf(block) == 0);
    CHECK(block == static_cast<std::byte*>(over.ledger.mOutstanding[0]) + (cIs32Bit ? 4 : 16));
    over.list->free(block);
    CHECK(over.ledger.mOutstanding.empty());
    over.list->free(nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "the block freed last is handed out first") {
    Over over;
    const auto blocks = take(over.list, 24, 1500);
    for (const int at : {7, 1400, 3})
        over.list->free(blocks[static_cast<std::size_t>(at)]);
    CHECK(take(over.list, 27, 3) == std::vector{blocks[3], blocks[1400], blocks[7]});
    giveBack(over.list, blocks);
}

TEST_CASE_FIXTURE(LibraryTest, "unused pages go back to the parent, others stay with all their blocks") {
    Over over;
    constexpr uint32 cCount = 64;
    auto blocks = take(over.list, 248, 3 * cCount);
    const auto strangers = take(over.list, 100, 1);
    const std::vector<void*> pages = over.ledger.mOutstanding;
    std::byte* const kept = blocks[cCount + 10];
    std::erase(blocks, kept);
    giveBack(over.list, blocks);

    // The counts start over each time: as often as the middle page is looked at, it has one block in use.
    CHECK(over.list->freeUnusedMemory() == 2 * 256);
    CHECK(over.list->freeUnusedMemory() == 0);
    CHECK(over.ledger.mOutstanding == std::vector{pages[1], pages[3]});

    const auto again = take(over.list, 248, cCount - 1);
    CHECK(over.ledger.mAsked.size() == 4);
    for (const std::byte* block : again) {
        REQUIRE(headerOf(block) == headerFor(pages[1], block));
        REQUIRE(block != kept);
    }
    giveBack(over.list, again);
    giveBack(over.list, {kept, strangers[0]});
    CHECK(over.list->freeUnusedMemory() == 256 + 108);
    CHECK(over.ledger.mOutstanding.empty());
    CHECK(over.list->freeUnusedMemory() == 0);
    over.list->free(over.list->alloc(248));
    CHECK(over.ledger.mOutstanding.size() == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "a dying free list returns its pages, the newest first, and lets go of its parent") {
    bool isGone = false;
    {
        Over over;
        over.ledger.mIsGone = &isGone;
        for (const uint32 size : {4u, 80u, 200u})
            over.list->free(over.list->alloc(size));
        std::vector<void*> pages = over.ledger.mOutstanding;
        over.list.reset();
        std::reverse(pages.begin(), pages.end());
        CHECK(over.ledger.mReturned == pages);
        CHECK(over.parent.getReferenceCount() == 1);
    }
    CHECK(isGone);
}

TEST_CASE_FIXTURE(LibraryTest, "a parent without memory is an assertion for a page and null for a large block") {
    Over over;
    over.ledger.mLeft = 0;
    {
        const ExpectedAssertion expected("header\nError Message: Cannot allocate memory block of size: " +
                                             std::to_string(cIs32Bit ? 16392 : 16396),
                                         "common/memory/freelistallocator", 2);
        CHECK(over.list->alloc(8) == nullptr);
        CHECK(over.list->alloc(8) == nullptr);
    }
    CHECK(over.list->alloc(252) == nullptr);
    const auto asked = over.ledger.mAsked;
    CHECK(over.list->alloc(0xFFFFFFFF) == nullptr);
    CHECK(over.list->alloc(cIs32Bit ? 0xFFFFFFFC : 0xFFFFFFF0) == nullptr);
    // A size that the prefix carries beyond what can be asked for is not asked for.
    CHECK(over.ledger.mAsked == asked);
    over.ledger.mLeft = -1;
    giveBack(over.list, take(over.list, 8, 1025));
}

TEST_CASE_FIXTURE(LibraryTest, "what a parent throws passes through, and nothing is asserted") {
    Over over(LedgerAllocator::EXHAUSTION_THROW);
    over.ledger.mLeft = 0;
    for (const uint32 size : {0u, 8u, 251u, 252u, 100000u})
        checkThrown<Memory::OutOfMemoryException>([&] { over.list->alloc(size); }, "OutOfMemoryException",
                                                  "No Memory available");
    over.ledger.mLeft = -1;
    giveBack(over.list, take(over.list, 8, 1));
}
