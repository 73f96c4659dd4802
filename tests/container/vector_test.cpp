#include "common/container/vector.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <iterator>
#include <list>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

namespace {

/// One random operation, done to the vector and to its model.
template <class T>
void step(Dice& dice, Vector<T>& vector, std::vector<T>& model) {
    const T fresh = makeElement<T>(static_cast<int>(dice.roll(1000)));
    const uint32 at = dice.roll(model.size() + 1);
    const uint32 own = dice.roll(model.size());
    const uint32 from = dice.roll(model.size() + 1);
    const uint32 to = from + dice.roll(model.size() - from + 1);
    const std::vector<T> before = model;
    const T ownValue = model.empty() ? fresh : model[own];
    const uint32 capacity = vector.capacity();
    switch (dice.roll(model.size() > 60 ? 24 : 20)) {
    case 0:
    case 1:
    case 2:
        vector.push_back(fresh);
        model.push_back(fresh);
        REQUIRE(vector.capacity() ==
                (capacity != before.size() ? capacity : std::max(capacity + capacity / 2, capacity + 1)));
        break;
    case 3:
        vector.push_back(model.empty() ? fresh : vector[own]);
        model.push_back(ownValue);
        break;
    case 4:
        REQUIRE(*vector.insert(vector.begin() + at, fresh) == fresh);
        model.insert(model.begin() + at, fresh);
        break;
    case 5:
        vector.emplace(vector.begin() + at, model.empty() ? fresh : vector[own]);
        model.insert(model.begin() + at, ownValue);
        break;
    case 6:
        vector.insert(vector.begin() + at, dice.roll(4), model.empty() ? fresh : vector[own]);
        model.insert(model.begin() + at, vector.size() - model.size(), ownValue);
        break;
    case 7:
        vector.insert(vector.begin() + at, vector.begin() + from, vector.begin() + to);
        model.insert(model.begin() + at, before.begin() + from, before.begin() + to);
        break;
    case 8: {
        const std::list<T> strangers(before.begin() + from, before.begin() + to);
        vector.insert(vector.begin() + at, strangers.begin(), strangers.end());
        model.insert(model.begin() + at, strangers.begin(), strangers.end());
        break;
    }
    case 9:
        if (model.size() < 30) {
            vector.insert(vector.begin() + at, vector.rbegin(), vector.rend());
            model.insert(model.begin() + at, before.rbegin(), before.rend());
        }
        break;
    case 10:
        vector.resize(at + 3);
        model.resize(at + 3);
        break;
    case 11:
        vector.resize(from + 5, model.empty() ? fresh : vector[own]);
        model.resize(from + 5, ownValue);
        break;
    case 12:
        vector.reserve(at * 2);
        REQUIRE(vector.capacity() == std::max(capacity, at * 2));
        break;
    case 13:
        vector.shrink_to_fit();
        REQUIRE(vector.capacity() == vector.size());
        break;
    case 14:
        vector.assign(vector.begin() + from, vector.begin() + to);
        model.assign(before.begin() + from, before.begin() + to);
        break;
    case 15: {
        Vector<T> copy(vector);
        copy.push_back(fresh);
        vector = std::as_const(copy);
        model.push_back(fresh);
        break;
    }
    case 16: {
        Vector<T> taken(std::move(vector));
        REQUIRE(vector.empty());
        vector.push_back(fresh);
        vector = std::move(taken);
        REQUIRE(taken.empty());
        break;
    }
    case 17: {
        Vector<T> other(vector.getAllocator(), {fresh, ownValue});
        vector.swap(other);
        model = {fresh, ownValue};
        break;
    }
    case 18:
        vector = *&vector;
        vector = std::move(*&vector);
        break;
    case 19:
        vector.clear();
        model.clear();
        REQUIRE(vector.capacity() == capacity);
        break;
    case 20:
        vector.pop_back();
        model.pop_back();
        break;
    case 21:
        REQUIRE(vector.erase(vector.begin() + own) == vector.begin() + own);
        model.erase(model.begin() + own);
        break;
    default:
        REQUIRE(vector.erase(vector.begin() + from, vector.begin() + to) == vector.begin() + from);
        model.erase(model.begin() + from, model.begin() + to);
        break;
    }
}

template <class T>
void runSteps(const Memory::AllocatorPtr& allocator, unsigned int seed) {
    Dice dice(seed);
    Vector<T> vector(allocator);
    std::vector<T> model;
    for (int count = 0; count < 4000; ++count) {
        step(dice, vector, model);
        REQUIRE(std::equal(vector.begin(), vector.end(), model.begin(), model.end()));
        REQUIRE(vector.capacity() >= vector.size());
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a vector does what a standard vector does") {
    runSteps<int>(allocator(), 1);
    runSteps<String>(allocator(), 2);
    runSteps<String>(Memory::AllocatorPtr(), 3);
    runSteps<Element>(allocator(), 4);
    CHECK(Element::sLive == 0);
    CHECK(Element::sWrong == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a full vector grows by half its capacity, or to what is needed") {
    Vector<uint16> vector(allocator());
    std::vector<uint32> capacities;
    for (uint16 number = 0; number < 20; ++number) {
        vector.push_back(number);
        if (capacities.empty() || capacities.back() != vector.capacity())
            capacities.push_back(vector.capacity());
    }
    CHECK(capacities == std::vector<uint32>{1, 2, 3, 4, 6, 9, 13, 19, 28});
    vector.insert(vector.end(), 100, uint16{7});
    CHECK(vector.capacity() == 120);
    CHECK(vector < Vector<uint16>(allocator(), {0, 1, 3}));
}

TEST_CASE_FIXTURE(LibraryTest, "a vector that cannot copy an element, or gets no memory, loses nothing") {
    using Elements = Vector<Element>;
    const Change<Elements> changes[] = {
        {"push_back", true, [](Elements& vector) { vector.push_back(9); }},
        {"push_back of an own element", true, [](Elements& vector) { vector.push_back(vector[1]); }},
        {"reserve", true, [](Elements& vector) { vector.reserve(50); }},
        {"shrink_to_fit", true, [](Elements& vector) { vector.shrink_to_fit(); }},
        {"resize", true, [](Elements& vector) { vector.resize(20, Element(9)); }},
        {"insert of an own range at the end", true,
         [](Elements& vector) { vector.insert(vector.end(), vector.begin(), vector.end()); }},
        {"insert of copies in the middle", false,
         [](Elements& vector) { vector.insert(vector.begin() + 1, 9, vector[0]); }},
        {"emplace in the middle", false, [](Elements& vector) { vector.emplace(vector.begin() + 1, 9); }},
        {"erase", false, [](Elements& vector) { vector.erase(vector.begin()); }},
        {"assign", true, [](Elements& vector) { vector.assign(30, Element(9)); }},
        {"copy and assign", true,
         [](Elements& vector) {
             Elements copy(vector);
             copy = Elements(vector.getAllocator(), 12, Element(9));
             vector = std::as_const(copy);
         }},
    };
    for (const Change<Elements>& change : changes)
        checkFailures(change, [](const Memory::AllocatorPtr& host) {
            Elements vector(host, {1, 2, 3, 4});
            vector.reserve(5);
            return vector;
        });
}

TEST_CASE_FIXTURE(LibraryTest, "a vector that would be too long says so before it takes memory") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    constexpr uint32 cMost = Vector<uint64>::max_size();
    Vector<uint64> vector(host, 1, 5);
    Vector<char> bytes(host, 1, 'b');
    const std::size_t asked = ledger.mAsked.size();
    const char* const text = "vector<T> too long";
    CHECK_THROWS_WITH_AS(Vector<uint64>(host, cMost + 1), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.reserve(cMost + 1), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.resize(0xFFFFFFFF), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.resizeForOverwrite(cMost + 1), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.insert(vector.begin(), cMost, 5), text, std::length_error);
    CHECK_THROWS_WITH_AS(vector.assign(cMost + 1, 5), text, std::length_error);
    CHECK_THROWS_WITH_AS(bytes.insert(bytes.end(), 0xFFFFFFFF, 'b'), text, std::length_error);
    CHECK_THROWS_AS(vector.at(1), std::out_of_range);
    CHECK(ledger.mAsked.size() == asked);
    CHECK(vector == Vector<uint64>(allocator(), {5}));
}
