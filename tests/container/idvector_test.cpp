#include "common/container/idvector.h"

#include "common/memory/memoryexception.h"

#include "tests/container/model.h"
#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <map>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

namespace {

/// The rules of an id table, as plainly as they can be put.
struct Model {
    std::map<uint32, int*> elements;
    std::vector<uint32> free; ///< the next one last
    uint32 slotCount = 0;

    uint32 add(int* element) {
        if (free.empty()) {
            const uint32 oldCount = std::exchange(slotCount, 1 + slotCount + slotCount / 2);
            for (uint32 id = slotCount; id-- > oldCount;)
                free.push_back(id);
        }
        const uint32 id = free.back();
        free.pop_back();
        elements[id] = element;
        return id;
    }
    void remove(uint32 id) {
        elements.erase(id);
        free.push_back(id);
    }
};

void checkAgainst(const IDVector<int>& table, const Model& model) {
    auto at = table.begin();
    for (const auto& [id, element] : model.elements) {
        REQUIRE((at.getID() == id && *at == element && table.isValidID(id)));
        ++at;
    }
    REQUIRE(at == table.end());
    for (const uint32 id : model.free)
        REQUIRE((!table.isValidID(id) && table[id] == nullptr));
    REQUIRE_FALSE(table.isValidID(model.slotCount));
    REQUIRE((table.size() == model.elements.size() && table.getSlotCount() == model.slotCount));
    REQUIRE(table.getFirstFreeID() == (model.free.empty() ? model.slotCount : model.free.back()));
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an id table keeps to its rules, whatever is added, removed, copied and refused") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    Dice dice;
    int elements[8];
    IDVector<int> table(host);
    Model model;
    int failures = 0;
    for (int count = 0; count < 6000; ++count) {
        // Now it rather grows, now it rather shrinks.
        if (dice.roll(10) < (count / 500 % 2 == 0 ? 6u : 3u)) {
            int* const element = dice.roll(9) == 8 ? nullptr : &elements[dice.roll(8)];
            ledger.mLeft = static_cast<int>(dice.roll(3));
            try {
                const uint32 id = table.add(element);
                REQUIRE(id == model.add(element));
            } catch (Memory::OutOfMemoryException* exception) {
                delete exception;
                ++failures;
            }
            ledger.mLeft = -1;
        } else if (!model.elements.empty()) {
            const uint32 id = std::next(model.elements.begin(), dice.roll(model.elements.size()))->first;
            table.remove(id);
            model.remove(id);
        }
        if (count % 100 == 0) {
            const IDVector<int> copy(table, allocator());
            const IDVector<int> moved(std::move(table));
            REQUIRE(table.getSlotCount() == 0);
            table = copy;
            REQUIRE(table.getAllocator() == host);
        }
        if (count == 4000) {
            table.clear();
            model = Model();
        }
        checkAgainst(table, model);
    }
    CHECK(failures > 10);
}

TEST_CASE_FIXTURE(LibraryTest, "an id table grows to 1, 2, 4, 7, 11 slots, and says so when an id or a place is free") {
    int element = 0;
    IDVector<int> table(allocator());
    for (const uint32 slotCount : {1u, 2u, 4u, 4u, 7u, 7u, 7u, 11u}) {
        table.add(&element);
        CHECK(table.getSlotCount() == slotCount);
    }
    table.remove(1);
    for (const uint32 id : {1u, 8u, 11u, 0xFFFFFFFFu}) {
        const ExpectedAssertion expected("isValidID(id)\nError Message: Element with id '" + std::to_string(id) +
                                             "' cannot be removed since it is invalid",
                                         "common/container/idvector");
        table.remove(id);
        CHECK((table.size() == 7 && table.getFirstFreeID() == 1));
    }
    auto at = table.begin();
    table.remove(at.getID());
    CHECK(*at == nullptr);
    CHECK((++at).getID() == 2);
    CHECK((table.getNextValidID(0) == 2 && table.getNextValidID(7) == 11 && table.getNextValidID(0xFFFFFFFF) == 11));
}
