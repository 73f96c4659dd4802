#include "common/container/segmentvector.h"
#include "common/string.h"

#include "tests/support/librarytest.h"

#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Common::Container;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "an element of a segment vector never moves, and keeps its value") {
    SegmentVector<int> vector(allocator());
    std::vector<const int*> places;
    for (int number = 0; number < 3000; ++number) {
        vector.push_back(number);
        places.push_back(&vector.back());
    }
    CHECK(vector.capacity() == 3072);
    const SegmentVector<int> copy(vector);
    SegmentVector<int> moved(std::move(vector));
    for (int number = 0; number < 3000; ++number)
        REQUIRE((moved[number] == number && &moved[number] == places[number]));
    CHECK(copy == moved);
    moved.pop_back();
    CHECK_FALSE(copy == moved);
    vector = SegmentVector<int>(copy, Memory::AllocatorPtr());
    vector = std::as_const(moved);
    CHECK((vector == moved && !vector.getAllocator()));
}

TEST_CASE_FIXTURE(LibraryTest, "reading a segment vector beyond its size asserts and yields the default value") {
    SegmentVector<String, 4> vector(allocator());
    vector.push_back("an element");
    const SegmentVector<String, 4> constant(vector);
    const ExpectedAssertion expected("index < mSize\nError Message: index out of range",
                                     "common/container/segmentvector", 4);
    CHECK(constant[1].empty());
    // What is written there goes with the vector, at the latest: the bytes that are left are counted.
    vector[0xFFFFFFFF] = "a text that has storage";
    CHECK(vector[1].empty());
    vector.pop_back();
    vector.back() = "another text that has storage";
}
