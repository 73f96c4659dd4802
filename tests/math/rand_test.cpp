#include "common/math/rand.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <climits>
#include <set>
#include <thread>
#include <vector>

using namespace Tarq::Common::Math;
using namespace Tarq::Test;

namespace {

/// The next numbers of the one sequence that all others are made from.
std::vector<int> draw(std::size_t count) {
    std::vector<int> numbers(count);
    for (int& number : numbers)
        number = Rand::getRandInt32(0, 32767);
    return numbers;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "random whole numbers reach both ends of their range and nothing beyond") {
    Rand::setSeed(1);
    const int ranges[][3] = {
        // the ends, and how many numbers there are
        {5, 5, 1}, {0, 9, 10}, {-3, 3, 7}, {9, 0, 1}, {INT_MIN, INT_MIN + 1, 2}, {INT_MAX - 1, INT_MAX, 2}};
    for (const auto& [min, max, count] : ranges) {
        std::set<int> seen;
        for (int times = 0; times < 200; ++times)
            seen.insert(Rand::getRandInt32(min, max));
        CHECK(static_cast<int>(seen.size()) == count);
        CHECK(*seen.begin() == min);
        CHECK(*seen.rbegin() == std::max(min, max));
    }
    // One draw has 15 bits: from the whole range, it takes what is above the lower end.
    CHECK(Rand::getRandInt32(INT_MIN, INT_MAX) <= INT_MIN + 32767);
}

TEST_CASE_FIXTURE(LibraryTest, "every random number is made from the draws of one sequence, the same on all machines") {
    Rand::setSeed(1);
    const std::vector<int> draws = draw(6);
    CHECK((draws[0] == 7748 && draws[1] == 12100));
    Rand::setSeed(1);
    const float step = 1.0f / 32768.0f;
    CHECK(Rand::getRandFloat() == static_cast<float>(draws[0]) * step);
    CHECK(Rand::getRandFloat(-2.0f, 6.0f) == -2.0f + 8.0f * (static_cast<float>(draws[1]) * step));
    CHECK(Rand::getRandBool() == (draws[2] % 2 == 1));
    CHECK(Rand::getRandClamped() == static_cast<float>(draws[3] - draws[4]) * step);
    CHECK(draw(1)[0] == draws[5]);
}

TEST_CASE_FIXTURE(LibraryTest, "threads that draw at once share one sequence: no number is drawn twice or lost") {
    constexpr std::size_t cDraws = 2000;
    Rand::setSeed(3);
    std::vector<int> expected = draw(2 * cDraws);
    Rand::setSeed(3);
    Gate gate;
    std::vector<int> drawn;
    std::thread other([&] {
        gate.wait();
        drawn = draw(cDraws);
    });
    gate.open();
    std::vector<int> own = draw(cDraws);
    other.join();
    own.insert(own.end(), drawn.begin(), drawn.end());
    std::sort(own.begin(), own.end());
    std::sort(expected.begin(), expected.end());
    CHECK(own == expected);
}

TEST_CASE_FIXTURE(LibraryTest, "secure random numbers use every bit") {
    unsigned int changed = 0;
    for (int times = 0; times < 128; ++times)
        changed |= Rand::getRandSecureUIntMax() ^ Rand::getRandSecureUIntMax();
    CHECK(changed == UINT_MAX);
}
