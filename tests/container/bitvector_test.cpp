#include "common/container/bitvector.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "packed bits do what a standard vector of truth values does") {
    Dice dice(1);
    Vector<bool> bits(allocator());
    std::vector<bool> model;
    for (int count = 0; count < 20000; ++count) {
        const bool value = dice.roll(2) == 1;
        const uint32 own = dice.roll(model.size());
        switch (dice.roll(model.empty() ? 5 : 12)) {
        case 0:
            bits.resize(own + 70, value);
            model.resize(own + 70, value);
            break;
        case 1:
            bits.resize(own);
            model.resize(own);
            break;
        case 2: {
            Vector<bool> taken(std::move(bits));
            REQUIRE(bits.empty());
            bits = taken;
            REQUIRE(bits == taken);
            bits.push_back(value);
            REQUIRE(!(bits == taken));
            bits = std::move(taken);
            break;
        }
        case 3:
            bits.flip();
            model.flip();
            break;
        case 5:
            bits.pop_back();
            model.pop_back();
            break;
        case 6:
            bits[own] = value;
            model[own] = value;
            break;
        case 7:
            bits[own] = bits[0];
            model[own] = model[0];
            break;
        case 8:
            REQUIRE(bits.erase(bits.begin() + own) == bits.begin() + own);
            model.erase(model.begin() + own);
            break;
        default:
            bits.push_back(value);
            model.push_back(value);
            break;
        }
        REQUIRE(bits.size() == model.size());
        REQUIRE(std::equal(bits.begin(), bits.end(), model.begin()));
    }
    bits.clear();
    CHECK(bits == Vector<bool>(allocator()));
    CHECK(Vector<bool>(allocator(), 33, true) == Vector<bool>(Vector<bool>(allocator(), 33, true)));
    CHECK_FALSE(Vector<bool>(allocator(), {true, false}) == Vector<bool>(allocator(), {true, true}));
}

TEST_CASE_FIXTURE(LibraryTest, "packed bits that would be too many, or get no memory, stay as they are") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    Vector<bool> bits(host, 32, true);
    const std::size_t asked = ledger.mAsked.size();
    CHECK_THROWS_WITH_AS(bits.resize(0x80000000), "vector<bool> too long", std::length_error);
    CHECK_THROWS_WITH_AS(bits.reserve(0x80000000), "vector<bool> too long", std::length_error);
    CHECK_THROWS_WITH_AS(Vector<bool>(host, 0xFFFFFFFF), "vector<bool> too long", std::length_error);
    CHECK(ledger.mAsked.size() == asked);
    ledger.mLeft = 0;
    checkThrown<Memory::OutOfMemoryException>([&] { bits.push_back(false); }, "OutOfMemoryException",
                                              "No Memory available");
    checkThrown<Memory::OutOfMemoryException>([&] { bits.resize(33); }, "OutOfMemoryException", "No Memory available");
    CHECK(bits == Vector<bool>(allocator(), 32, true));
}
