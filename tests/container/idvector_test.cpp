#include "common/container/idvector.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <optional>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

namespace {

/// The rules of an id table, as plainly as they can be put: its slots, and its free ids in the order of their use.
struct Model {
    std::vector<std::optional<int*>> slots;
    std::vector<uint32> free; ///< the next one last

    uint32 add(int* element) {
        if (free.empty()) {
            const auto oldCount = static_cast<uint32>(slots.size());
            slots.resize(1 + slots.size() + slots.size() / 2);
            for (auto id = static_cast<uint32>(slots.size()); id-- > oldCount;)
                free.push_back(id);
        }
        const uint32 id = free.back();
        free.pop_back();
        slots[id] = element;
        return id;
    }
    void remove(uint32 id) {
        slots[id].reset();
        free.push_back(id);
    }
    std::vector<uint32> getIDs() const {
        std::vector<uint32> ids;
        for (uint32 id = 0; id < slots.size(); ++id) {
            if (slots[id])
                ids.push_back(id);
        }
        return ids;
    }
};

std::vector<uint32> idsOf(const IDVector<int>& table) {
    std::vector<uint32> ids;
    for (auto at = table.begin(); at != table.end(); ++at)
        ids.push_back(at.getID());
    return ids;
}

void checkAgainst(const IDVector<int>& table, const Model& model) {
    const std::vector<uint32> ids = model.getIDs();
    const auto slotCount = static_cast<uint32>(model.slots.size());
    REQUIRE(idsOf(table) == ids);
    REQUIRE(table.size() == ids.size());
    REQUIRE(table.empty() == ids.empty());
    REQUIRE(table.getSlotCount() == slotCount);
    REQUIRE(table.getFirstFreeID() == (model.free.empty() ? slotCount : model.free.back()));
    REQUIRE(table.getFirstValidID() == (ids.empty() ? slotCount : ids.front()));
    int wrong = table.isValidID(slotCount);
    for (uint32 id = 0; id < slotCount; ++id)
        wrong += table.isValidID(id) != model.slots[id].has_value() || table[id] != model.slots[id].value_or(nullptr);
    REQUIRE(wrong == 0);
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an id table keeps to its rules, whatever is added, removed and copied") {
    Dice dice(1);
    int elements[8];
    IDVector<int> table(allocator());
    Model model;
    for (int count = 0; count < 6000; ++count) {
        // Now it rather grows, now it rather shrinks.
        if (dice.roll(10) < (count / 500 % 2 == 0 ? 6u : 3u)) {
            const uint32 which = dice.roll(9);
            int* const element = which == 8 ? nullptr : &elements[which];
            REQUIRE(table.add(element) == model.add(element));
        } else if (const std::vector<uint32> ids = model.getIDs(); !ids.empty()) {
            const uint32 id = ids[dice.roll(ids.size())];
            table.remove(id);
            model.remove(id);
        }
        if (count % 100 == 0) {
            const IDVector<int> copy(table);
            table.add(nullptr);
            checkAgainst(copy, model);
            IDVector<int> moved(std::move(table));
            CHECK(table.getSlotCount() == 0);
            table = copy;
        }
        if (count == 4000) {
            table.clear();
            model = Model();
        }
        checkAgainst(table, model);
    }
}

TEST_CASE_FIXTURE(LibraryTest,
                  "ids come in ascending order from 1, 2, 4, 7 slots, and the last one freed comes first") {
    IDVector<int> table(allocator());
    const uint32 slotCounts[] = {1, 2, 4, 4, 7, 7, 7, 11};
    for (uint32 id = 0; id < 8; ++id) {
        CHECK(table.add(nullptr) == id);
        CHECK(table.getSlotCount() == slotCounts[id]);
    }
    for (const uint32 id : {5u, 2u, 6u})
        table.remove(id);
    CHECK(table.getNextValidID(4) == 7);
    CHECK(table.getNextValidID(7) == 11);
    CHECK(table.getNextValidID(0xFFFFFFFF) == 11);
    for (const uint32 id : {6u, 2u, 5u, 8u})
        CHECK(table.add(nullptr) == id);
}

TEST_CASE_FIXTURE(LibraryTest, "freeing an id that is free asserts and changes nothing") {
    IDVector<int> table(allocator());
    int element = 0;
    Model model;
    for (int count = 0; count < 3; ++count) {
        table.add(&element);
        model.add(&element);
    }
    table.remove(1);
    model.remove(1);
    for (const uint32 id : {1u, 3u, 4u, 0xFFFFFFFFu}) {
        const ExpectedAssertion expected("isValidID(id)\nError Message: Element with id '" + std::to_string(id) +
                                             "' cannot be removed since it is invalid",
                                         "common/container/idvector");
        table.remove(id);
        checkAgainst(table, model);
    }
    CHECK(table.get(1) == nullptr);
    CHECK(table.get(2) == &element);
}

TEST_CASE_FIXTURE(LibraryTest, "an id table may change while it is walked through") {
    IDVector<int> table(allocator());
    for (int count = 0; count < 5; ++count)
        table.add(nullptr);
    std::vector<uint32> seen;
    for (auto at = table.begin(); at != table.end(); ++at) {
        seen.push_back(at.getID());
        if (at.getID() < 5)
            table.remove(at.getID());
        if (at.getID() == 3) {
            for (int count = 0; count < 8; ++count)
                table.add(nullptr);
        }
    }
    // While 3 is visited, the ids 3, 2, 1, 0 are used again, then 5 and 6, and the table grows for 7 and 8.
    CHECK(seen == std::vector<uint32>{0, 1, 2, 3, 4, 5, 6, 7, 8});
    CHECK(idsOf(table) == std::vector<uint32>{0, 1, 2, 3, 5, 6, 7, 8});
}

TEST_CASE_FIXTURE(LibraryTest, "an id table that gets no memory stays as it was") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    IDVector<int> table(host);
    Model model;
    int failures = 0;
    for (int count = 0; count < 40; ++count) {
        for (int grants = 0; table.size() == static_cast<uint32>(count); ++grants) {
            ledger.mLeft = grants;
            try {
                const uint32 id = table.add(nullptr);
                CHECK(id == model.add(nullptr));
            } catch (Memory::OutOfMemoryException* exception) {
                delete exception;
                ++failures;
                checkAgainst(table, model);
            }
        }
    }
    CHECK(failures > 6);
    ledger.mLeft = -1;
}
