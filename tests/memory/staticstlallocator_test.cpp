#include "common/memory/staticstlallocator.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <limits>
#include <map>
#include <sstream>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

Memory::AllocatorPtr gHost;

const Memory::AllocatorPtr& getHost() {
    return gHost;
}

template <class T>
using STLAllocator = Memory::StaticSTLAllocator<T, &getHost>;

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "standard containers and streams take their memory from the getter's allocator") {
    auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
    gHost = Memory::AllocatorPtr(&ledger);
    {
        std::map<int, int, std::less<>, STLAllocator<std::pair<const int, int>>> squares;
        for (int at = 0; at < 50; ++at)
            squares[at] = at * at;
        CHECK(ledger.mOutstanding.size() == 50);

        std::basic_ostringstream<char, std::char_traits<char>, STLAllocator<char>> stream;
        stream << std::string(5000, 'x');
        // A stream keeps to itself what it catches, unless it is told otherwise.
        stream.exceptions(std::ios::badbit);
        ledger.mLeft = 0;
        CHECK_THROWS_AS(stream << std::string(50000, 'x'), std::bad_alloc);
        ledger.mLeft = -1;
        const auto asked = ledger.mAsked;
        constexpr std::size_t cMost = std::numeric_limits<std::size_t>::max();
        CHECK_THROWS_AS(STLAllocator<uint64>().allocate(cMost / sizeof(uint64) + 1), std::bad_alloc);
        CHECK(ledger.mAsked == asked);
    }
    CHECK(ledger.mOutstanding.empty());
    gHost.reset();
}
