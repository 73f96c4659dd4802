#include "common/container/list.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <list>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

namespace {

template <class T>
void step(Dice& dice, List<T>& list, std::list<T>& model) {
    const T fresh = makeElement<T>(static_cast<int>(dice.roll(20)));
    const uint32 from = dice.roll(model.size() + 1);
    const uint32 to = from + dice.roll(model.size() - from + 1);
    const auto first = std::next(list.begin(), from);
    const auto last = std::next(list.begin(), to);
    const auto modelFirst = std::next(model.begin(), from);
    const auto modelLast = std::next(model.begin(), to);
    switch (dice.roll(model.size() > 40 ? 16 : 12)) {
    case 0:
        list.push_front(fresh);
        model.push_front(fresh);
        break;
    case 1:
        list.insert(first, from == to ? fresh : *first);
        model.insert(modelFirst, from == to ? fresh : *modelFirst);
        break;
    case 2:
        if (model.size() < 100) {
            const auto firstCopy = list.insert(last, first, last);
            REQUIRE(std::next(firstCopy, to - from) == last);
            const std::list<T> copies(modelFirst, modelLast);
            model.insert(modelLast, copies.begin(), copies.end());
        }
        break;
    case 3:
        if (!model.empty()) {
            REQUIRE(list.remove(list.front()) == model.remove(T(model.front())));
        }
        break;
    case 4: {
        List<T> copy(list);
        copy.emplace_back(fresh);
        list = std::as_const(copy);
        model.push_back(fresh);
        break;
    }
    case 5: {
        List<T> taken(std::move(list));
        REQUIRE(list.empty());
        list.push_back(fresh);
        list = std::move(taken);
        break;
    }
    case 6: {
        List<T> other(list.getAllocator(), {fresh, fresh});
        list.swap(other);
        other.swap(list);
        list.swap(list);
        list = *&list;
        break;
    }
    case 12:
        list.pop_front();
        model.pop_front();
        break;
    case 13:
        list.pop_back();
        model.pop_back();
        break;
    case 14:
        REQUIRE(list.erase(first, last) == last);
        model.erase(modelFirst, modelLast);
        break;
    case 15:
        if (dice.roll(10) == 0) {
            list.clear();
            model.clear();
        }
        break;
    default:
        list.push_back(fresh);
        model.push_back(fresh);
        break;
    }
}

template <class T>
void runSteps(const Memory::AllocatorPtr& allocator, unsigned int seed) {
    Dice dice(seed);
    List<T> list(allocator);
    std::list<T> model;
    for (int count = 0; count < 4000; ++count) {
        step(dice, list, model);
        REQUIRE(list.size() == model.size());
        REQUIRE(std::equal(list.begin(), list.end(), model.begin(), model.end()));
        REQUIRE(std::equal(list.rbegin(), list.rend(), model.rbegin(), model.rend()));
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a list does what a standard list does") {
    runSteps<int>(allocator(), 1);
    runSteps<String>(Memory::AllocatorPtr(), 2);
    runSteps<Element>(allocator(), 3);
    CHECK(Element::sLive == 0);
    CHECK(Element::sWrong == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a place in a list stays, whatever happens around it and wherever the nodes go") {
    List<int> list(allocator(), {1, 2, 3});
    const auto two = std::next(list.begin());
    const List<int>::const_iterator constTwo = two;
    list.erase(list.begin());
    list.push_front(7);
    list.insert(two, 8);
    List<int> other(Memory::AllocatorPtr(), {4});
    other.swap(list);
    CHECK(*two == 2);
    CHECK(constTwo == two);
    CHECK(other.getAllocator() == allocator());
    other.erase(two);
    CHECK(other == List<int>(allocator(), {7, 8, 3}));
    CHECK(list == List<int>(allocator(), {4}));
}

TEST_CASE_FIXTURE(LibraryTest, "a list that cannot copy an element, or gets no memory, stays as it was") {
    using Elements = List<Element>;
    const Change<Elements> changes[] = {
        {"push_back", true, [](Elements& list) { list.push_back(Element(9)); }},
        {"insert of an own range", true,
         [](Elements& list) { list.insert(std::next(list.begin()), list.begin(), list.end()); }},
        {"remove", true, [](Elements& list) { list.remove(list.front()); }},
        {"copy and assign", true,
         [](Elements& list) {
             Elements copy(list);
             copy.pop_back();
             list = std::as_const(copy);
         }},
    };
    for (const Change<Elements>& change : changes)
        checkFailures(change, [](const Memory::AllocatorPtr& host) { return Elements(host, {1, 2, 1, 3}); });
}
