#include "common/math/rand.h"

#include "tests/support/librarytest.h"

#include <climits>
#include <cmath>
#include <set>

using namespace Tarq::Common::Math;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "random whole numbers reach both ends of their range and nothing beyond") {
    Rand::setSeed(1);
    const struct {
        const char* name;
        int min;
        int max;
        std::size_t values;
    } ranges[] = {
        {"one number", 5, 5, 1},
        {"ten numbers", 0, 9, 10},
        {"around zero", -3, 3, 7},
        {"the other way round", 9, 0, 1},
        {"at the lower end", INT_MIN, INT_MIN + 1, 2},
        {"at the upper end", INT_MAX - 1, INT_MAX, 2},
    };
    for (const auto& range : ranges) {
        CAPTURE(range.name);
        std::set<int> seen;
        for (int draw = 0; draw < 2000; ++draw)
            seen.insert(Rand::getRandInt32(range.min, range.max));
        CHECK(seen.size() == range.values);
        CHECK(*seen.begin() == range.min);
        CHECK(*seen.rbegin() == (range.max < range.min ? range.min : range.max));
    }
    // One draw has 15 bits: from the whole range, it takes what is above the lower end.
    for (int draw = 0; draw < 1000; ++draw)
        CHECK(Rand::getRandInt32(INT_MIN, INT_MAX) <= INT_MIN + 32767);
}

TEST_CASE_FIXTURE(LibraryTest, "every random number is made from the draws of one sequence") {
    Rand::setSeed(7);
    int draws[6];
    for (int& draw : draws)
        draw = Rand::getRandInt32(0, 32767);
    Rand::setSeed(7);
    const float step = 1.0f / 32768.0f;
    CHECK(Rand::getRandFloat() == static_cast<float>(draws[0]) * step);
    CHECK(Rand::getRandFloat(-2.0f, 6.0f) == -2.0f + 8.0f * (static_cast<float>(draws[1]) * step));
    CHECK(Rand::getRandBool() == (draws[2] % 2 == 1));
    CHECK(Rand::getRandClamped() == static_cast<float>(draws[3] - draws[4]) * step);
    CHECK(Rand::getRandInt32(0, 32767) == draws[5]);
    for (int draw = 0; draw < 2000; ++draw) {
        const float number = Rand::getRandFloat();
        CHECK((number >= 0.0f && number < 1.0f));
        CHECK(std::abs(Rand::getRandClamped()) < 1.0f);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "secure random numbers use every bit and know no seed") {
    unsigned int everSet = 0;
    unsigned int everClear = 0;
    std::set<unsigned int> seen;
    for (int draw = 0; draw < 128; ++draw) {
        Rand::setSeed(1);
        const unsigned int number = Rand::getRandSecureUIntMax();
        everSet |= number;
        everClear |= ~number;
        seen.insert(number);
    }
    CHECK(everSet == UINT_MAX);
    CHECK(everClear == UINT_MAX);
    CHECK(seen.size() > 120);
}
