#include "common/memory/staticstlallocator.h"

#include "common/debug/report.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <limits>
#include <map>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

Memory::AllocatorPtr gLedger;

const Memory::AllocatorPtr& getLedger() {
    return gLedger;
}

template <class T>
using LedgerSTLAllocator = Memory::StaticSTLAllocator<T, &getLedger>;

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "standard containers take all their memory from the getter's allocator") {
    auto& ledger = *new LedgerAllocator;
    gLedger = Memory::AllocatorPtr(&ledger);
    {
        std::map<int, int, std::less<>, LedgerSTLAllocator<std::pair<const int, int>>> squares;
        for (int at = 0; at < 50; ++at)
            squares[at] = at * at;
        CHECK(ledger.mOutstanding.size() == 50);
        std::vector<uint32, LedgerSTLAllocator<uint32>> words(100, 7u);
        CHECK(ledger.mAsked.back() == 400);
        CHECK(words.get_allocator() == LedgerSTLAllocator<char>(squares.get_allocator()));
    }
    CHECK(ledger.mOutstanding.empty());
    gLedger.reset();

    const auto taken = getMemory().getTaken();
    Debug::LogStream stream;
    stream << std::string(5000, 'x') << 1;
    CHECK(stream.str().size() == 5001);
    CHECK(getMemory().getTaken() > taken);
}

TEST_CASE_FIXTURE(LibraryTest, "more elements than an allocator can be asked for are refused") {
    constexpr std::size_t cMost = std::numeric_limits<std::size_t>::max();
    auto& ledger = *new LedgerAllocator;
    gLedger = Memory::AllocatorPtr(&ledger);
    for (const std::size_t count : {cMost, cMost / sizeof(uint64) + 1, std::size_t{0x20000000}})
        checkThrown<Memory::OutOfMemoryException>([&] { LedgerSTLAllocator<uint64>().allocate(count); },
                                                  "OutOfMemoryException", "No Memory available");
    CHECK(ledger.mAsked.empty());
    gLedger.reset();
}
