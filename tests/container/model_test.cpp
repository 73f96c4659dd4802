#include "tests/container/model.h"

#include "common/container/bitvector.h"
#include "common/container/list.h"
#include "common/container/lookup.h"
#include "common/string.h"

#include "tests/support/librarytest.h"

#include <list>
#include <map>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Container::List;
using Container::LookUp;
using Container::Vector;

namespace {

auto place(auto& container, uint32 index) {
    return std::next(container.begin(), index);
}

auto indexOf(auto& container, auto at) {
    return std::distance(container.begin(), at);
}

/// The container of the same kind without elements; ours on the global heap.
template <class C>
C makeElsewhere(const C&) {
    if constexpr (requires(C c) { c.getAllocator(); })
        return C(Memory::AllocatorPtr());
    else
        return C();
}

const void* allocatorOf(auto& container) {
    if constexpr (requires { container.getAllocator(); })
        return container.getAllocator().get();
    else
        return nullptr;
}

/// What sequences and packed bits have.
constexpr std::tuple cAll{
    [](auto& c, auto&, auto& roll) { c.push_back(roll.fresh); },
    [](auto& c, auto&, auto&) { c.clear(); },
    [](auto& c, auto&, auto& roll) {
        const void* const allocator = allocatorOf(c);
        auto copy = makeElsewhere(c);
        copy = std::as_const(c);
        copy.push_back(roll.fresh);
        c = std::as_const(copy);
        c = *&c;
        return allocatorOf(c) == allocator;
    },
    [](auto& c, auto&, auto& roll) {
        auto taken(std::move(c));
        const bool isLeftEmpty = c.empty();
        c.push_back(roll.fresh);
        c = std::move(taken);
        return isLeftEmpty && taken.empty();
    },
    [](auto& c, auto&, auto& roll) {
        auto other = makeElsewhere(c);
        c.swap(other);
        other.push_back(roll.fresh);
        c.swap(other);
        c.swap(c);
    },
};

constexpr std::tuple cSequence{
    [](auto& c, auto&, auto& roll) { return indexOf(c, c.insert(place(c, roll.at), roll.fresh)); },
    [](auto& c, auto& source, auto& roll) {
        return indexOf(c, c.insert(place(c, roll.at), place(source, roll.from), place(source, roll.to)));
    },
    [](auto& c, auto& source, auto& roll) {
        using Backwards = std::reverse_iterator<decltype(source.begin())>;
        c.insert(place(c, roll.at), Backwards(place(source, roll.to)), Backwards(place(source, roll.from)));
    },
    [](auto& c, auto&, auto& roll) { return indexOf(c, c.erase(place(c, roll.from), place(c, roll.to))); },
};

constexpr std::tuple cSequenceOnElements{
    [](auto& c, auto& source, auto& roll) { c.push_back(*place(source, roll.own)); },
    [](auto& c, auto& source, auto& roll) { c.insert(place(c, roll.at), *place(source, roll.own)); },
    [](auto& c, auto&, auto& roll) { return indexOf(c, c.erase(place(c, roll.own))); },
    [](auto& c, auto&, auto&) { c.pop_back(); },
};

constexpr std::tuple cVector{
    [](auto& c, auto&, auto& roll) {
        const auto capacity = c.capacity();
        const auto grown = c.size() < capacity ? capacity : std::max(capacity + capacity / 2, capacity + 1);
        c.push_back(roll.fresh);
        return c.capacity() == grown || !allocatorOf(c);
    },
    [](auto& c, auto&, auto& roll) { c.resize(roll.own + 3); },
    [](auto& c, auto& source, auto& roll) { c.resize(roll.at + 3, source.empty() ? roll.fresh : source[roll.own]); },
    [](auto& c, auto&, auto& roll) { c.reserve(roll.at * 2); },
    [](auto& c, auto&, auto&) { c.shrink_to_fit(); },
    [](auto& c, auto& source, auto& roll) { c.assign(place(source, roll.from), place(source, roll.to)); },
};

constexpr std::tuple cVectorOnElements{
    [](auto& c, auto& source, auto& roll) { c.emplace(place(c, roll.at), source[roll.own]); },
    [](auto& c, auto& source, auto& roll) {
        return indexOf(c, c.insert(place(c, roll.at), roll.count, source[roll.own]));
    },
};

constexpr std::tuple cList{
    [](auto& c, auto&, auto& roll) { c.push_front(roll.fresh); },
};

constexpr std::tuple cListOnElements{
    [](auto& c, auto&, auto&) { return static_cast<uint32>(c.remove(c.front())); },
    [](auto& c, auto&, auto&) { c.pop_front(); },
};

constexpr std::tuple cBits{
    [](auto& c, auto&, auto& roll) { c.resize(roll.at + 70, roll.fresh); },
    [](auto& c, auto&, auto& roll) { c.resize(roll.own); },
    [](auto& c, auto&, auto&) { c.flip(); },
};

constexpr std::tuple cBitsOnElements{
    [](auto& c, auto&, auto& roll) { c.at(roll.own) = roll.fresh; },
    [](auto& c, auto&, auto& roll) { c.erase(place(c, roll.own)); },
    [](auto& c, auto&, auto&) { c.pop_back(); },
};

constexpr std::tuple cMap{
    [](auto& c, auto&, auto& roll) { return c.try_emplace(roll.fresh, roll.at).second; },
    [](auto& c, auto&, auto& roll) { c[roll.fresh] = roll.at; },
    [](auto& c, auto&, auto& roll) { return c.insert_or_assign(roll.fresh, roll.at).first->second; },
    [](auto& c, auto&, auto& roll) { return indexOf(c, c.lower_bound(roll.fresh)); },
    [](auto& c, auto&, auto& roll) { return c.contains(roll.fresh) == (c.erase(roll.fresh) != 0); },
    [](auto& c, auto&, auto& roll) {
        const auto found = c.upper_bound(roll.fresh);
        return found == c.end() ? -1 : indexOf(c, c.erase(found));
    },
    [](auto& c, auto&, auto& roll) {
        const auto copy(c);
        auto taken(std::move(c));
        c[roll.fresh] = 7;
        c = std::move(taken);
        return taken.empty() && copy == c;
    },
};

String makeText(Dice& dice) {
    return String("an element with storage of its own, number ").appendDecimal(dice.roll(20));
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a vector does what a standard vector does, and grows by half its capacity") {
    const auto operations = std::tuple_cat(cAll, cSequence, cVector);
    const auto onElements = std::tuple_cat(cSequenceOnElements, cVectorOnElements);
    checkAgainstModel(Vector<String>(allocator()), std::vector<String>(), makeText, operations, onElements);
    const auto makeNumber = [](Dice& dice) { return dice.roll(1000); };
    checkAgainstModel(Vector<uint32>(allocator()), std::vector<uint32>(), makeNumber, operations, onElements);
    Vector<uint32> vector(allocator(), 20, 7);
    vector.insert(vector.end(), 100, 7u);
    CHECK(vector.capacity() == 120);
}

TEST_CASE_FIXTURE(LibraryTest, "a list does what a standard list does") {
    checkAgainstModel(List<String>(allocator()), std::list<String>(), makeText, std::tuple_cat(cAll, cSequence, cList),
                      std::tuple_cat(cSequenceOnElements, cListOnElements));
}

TEST_CASE_FIXTURE(LibraryTest, "packed bits do what a standard vector of truth values does") {
    const auto makeBit = [](Dice& dice) { return dice.roll(2) == 1; };
    checkAgainstModel(Vector<bool>(allocator()), std::vector<bool>(), makeBit, std::tuple_cat(cAll, cBits),
                      cBitsOnElements);
}

TEST_CASE_FIXTURE(LibraryTest, "a look-up does what a standard map does") {
    checkAgainstModel(LookUp<String, uint32>(allocator()), std::map<String, uint32>(), makeText, cMap, std::tuple(),
                      [](auto& a, auto& b) { return a.first == b.first && a.second == b.second; });
}
