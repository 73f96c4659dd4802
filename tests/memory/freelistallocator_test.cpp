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

/// A free-list allocator over a ledger.
struct Over {
    explicit Over(LedgerAllocator::Exhaustion exhaustion = LedgerAllocator::EXHAUSTION_NULL)
        : ledger(*new LedgerAllocator(exhaustion)), list(new FreeListAllocator(AllocatorPtr(&ledger))) {}

    std::byte* take(uint32 size) const { return static_cast<std::byte*>(list->alloc(size)); }
    std::vector<std::byte*> take(uint32 size, std::size_t count) const {
        std::vector<std::byte*> blocks(count);
        for (std::byte*& block : blocks)
            block = take(size);
        return blocks;
    }
    void giveBack(const std::vector<std::byte*>& blocks) const {
        for (std::byte* block : blocks)
            list->free(block);
    }

    LedgerAllocator& ledger;
    AllocatorPtr list;
};

uint32 headerOf(const std::byte* block) {
    uint32 header;
    std::memcpy(&header, block - sizeof(header), sizeof(header));
    return header;
}

bool isOnPage(const std::byte* block, const void* page) {
    const auto address = reinterpret_cast<std::uintptr_t>(page);
    return headerOf(block) == (cIs32Bit ? address : reinterpret_cast<std::uintptr_t>(block) - 4 - address);
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
        const Over over;
        auto blocks = over.take(c.largest, c.count - 1);
        blocks.push_back(over.take(c.smallest));
        REQUIRE(over.ledger.mAsked == std::vector<uint32>{cIs32Bit ? c.page32 : c.page64});
        const void* const page = over.ledger.mOutstanding[0];
        CHECK(blocks[0] + c.slot - 4 == static_cast<const std::byte*>(page) + over.ledger.mAsked[0]);
        bool areInOrder = true;
        for (uint32 at = 0; at < c.count; ++at)
            areInOrder &= blocks[at] == blocks[0] - std::size_t{c.slot} * at && isOnPage(blocks[at], page);
        CHECK(areInOrder);
        // The block freed last is handed out first.
        over.giveBack({blocks[7], blocks[3]});
        CHECK(over.take(c.smallest, 2) == std::vector{blocks[3], blocks[7]});
        blocks.push_back(over.take(c.largest));
        CHECK(over.ledger.mAsked.size() == 2);
    }
    const Over over;
    std::byte* const large = over.take(252);
    CHECK(over.ledger.mAsked == std::vector<uint32>{cIs32Bit ? 256u : 268u});
    CHECK(large == static_cast<std::byte*>(over.ledger.mOutstanding[0]) + (cIs32Bit ? 4 : 16));
    CHECK(headerOf(large) == 0);
    over.list->free(large);
    CHECK(over.ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(LibraryTest, "unused pages go back to the parent, others stay with all their blocks") {
    Over over;
    auto blocks = over.take(248, 3 * 64);
    std::byte* const stranger = over.take(100);
    std::vector<void*> pages = over.ledger.mOutstanding;
    std::byte* const kept = blocks[64 + 10];
    std::erase(blocks, kept);
    over.giveBack(blocks);

    // The counts start over each time: as often as the middle page is looked at, it has one block in use.
    CHECK(over.list->freeUnusedMemory() == 2 * 256);
    CHECK(over.list->freeUnusedMemory() == 0);
    CHECK(over.ledger.mOutstanding == std::vector{pages[1], pages[3]});

    const auto again = over.take(248, 63);
    CHECK(over.ledger.mAsked.size() == 4);
    for (const std::byte* block : again)
        CHECK((isOnPage(block, pages[1]) && block != kept));
    over.giveBack(again);
    over.giveBack({kept, stranger});
    CHECK(over.list->freeUnusedMemory() == 256 + 108);
    CHECK(over.ledger.mOutstanding.empty());

    // The end returns what is left, the newest page first, and lets go of the parent.
    over.giveBack({over.take(4), over.take(80), over.take(200)});
    pages = over.ledger.mOutstanding;
    over.ledger.mReturned.clear();
    const AllocatorPtr parent(&over.ledger);
    over.list.reset();
    CHECK(over.ledger.mReturned == std::vector(pages.rbegin(), pages.rend()));
    CHECK(over.ledger.mOutstanding.empty());
    CHECK(parent.getReferenceCount() == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "a parent without memory is an assertion for a page and null for a large block") {
    const Over over;
    over.ledger.mLeft = 0;
    {
        const ExpectedAssertion expected("header\nError Message: Cannot allocate memory block of size: " +
                                             std::to_string(cIs32Bit ? 16392 : 16396),
                                         "common/memory/freelistallocator", 2);
        CHECK(over.take(8) == nullptr);
        CHECK(over.take(8) == nullptr);
    }
    CHECK(over.take(252) == nullptr);
    const auto asked = over.ledger.mAsked;
    CHECK(over.take(0xFFFFFFFF) == nullptr);
    CHECK(over.take(cIs32Bit ? 0xFFFFFFFC : 0xFFFFFFF0) == nullptr);
    // A size that the prefix carries beyond what can be asked for is not asked for.
    CHECK(over.ledger.mAsked == asked);
    over.ledger.mLeft = -1;
    over.giveBack(over.take(8, 1025));

    // What a parent throws passes through, and nothing is asserted.
    const Over throwing(LedgerAllocator::EXHAUSTION_THROW);
    throwing.ledger.mLeft = 0;
    for (const uint32 size : {0u, 8u, 251u, 252u, 100000u})
        checkThrown<Memory::OutOfMemoryException>([&] { throwing.take(size); }, "OutOfMemoryException",
                                                  "No Memory available");
}
