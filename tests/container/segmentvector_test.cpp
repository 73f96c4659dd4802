#include "common/container/segmentvector.h"

#include "tests/container/failures.h"
#include "tests/support/librarytest.h"

#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "an element of a segment vector never moves, and keeps its value") {
    SegmentVector<String> vector(allocator());
    std::vector<const String*> places;
    for (int number = 0; number < 3000; ++number) {
        vector.push_back(makeElement<String>(number));
        places.push_back(&vector.back());
    }
    CHECK(vector.capacity() == 3072);
    const SegmentVector<String> copy(vector);
    SegmentVector<String> moved(std::move(vector));
    CHECK(vector.empty());
    int wrong = 0;
    for (int number = 0; number < 3000; ++number) {
        const auto index = static_cast<uint32>(number);
        wrong += &moved[index] != places[index] || moved[index] != makeElement<String>(number);
        wrong += &copy[index] == places[index] || copy[index] != moved[index];
    }
    CHECK(wrong == 0);
    CHECK(copy == moved);
    moved.pop_back();
    CHECK_FALSE(copy == moved);
    vector = moved;
    CHECK(vector == moved);
    vector.clear();
    CHECK(vector.capacity() == 3072);
}

TEST_CASE_FIXTURE(LibraryTest, "reading a segment vector beyond its size asserts and yields the default value") {
    SegmentVector<int, 4> vector(allocator());
    vector.push_back(7);
    const SegmentVector<int, 4> constant(vector);
    const ExpectedAssertion expected("index < mSize\nError Message: index out of range",
                                     "common/container/segmentvector", 4);
    CHECK(constant[1] == 0);
    vector[0xFFFFFFFF] = 5;
    CHECK(vector[1] == 0);
    vector.pop_back();
    CHECK(vector.back() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a segment vector that cannot copy an element, or gets no memory, stays as it was") {
    using Elements = SegmentVector<Element, 2>;
    const Change<Elements> changes[] = {
        {"push_back", true, [](Elements& vector) { vector.push_back(Element(9)); }},
        {"push_back of an own element", true, [](Elements& vector) { vector.push_back(vector[0]); }},
        {"assign", true, [](Elements& vector) { vector = *&vector; }},
    };
    for (const Change<Elements>& change : changes)
        checkFailures(change, [](const Memory::AllocatorPtr& host) {
            Elements vector(host);
            for (const int number : {1, 2, 3, 4})
                vector.emplace_back(number);
            return vector;
        });
}
