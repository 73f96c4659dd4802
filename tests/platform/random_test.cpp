#include "common/callback/mathcallback.h"
#include "common/math/rand.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// The plain generator's next numbers, as everything above the platform draws them.
std::vector<int> draw(std::size_t count) {
    std::vector<int> numbers(count);
    for (int& number : numbers)
        number = Math::Rand::getRandInt32(0, 32767);
    return numbers;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "the same seed gives the same numbers on every machine") {
    Math::Rand::setSeed(1);
    CHECK(draw(8) == std::vector<int>{7748, 12100, 16523, 23097, 1656, 12108, 25387, 18225});
    Math::Rand::setSeed(0xFFFFFFFF);
    CHECK(draw(3) == std::vector<int>{7722, 6155, 4417});
    Callback::MathCallback callback;
    CHECK(callback.getRandomNumber() == 20671);
    callback.initalizeRandomGenerator(1);
    CHECK(draw(1) == std::vector<int>{7748});
}

TEST_CASE_FIXTURE(LibraryTest, "threads that draw at once share one sequence: no number is drawn twice or lost") {
    constexpr std::size_t cThreads = 4;
    constexpr std::size_t cDraws = 2000;
    Math::Rand::setSeed(3);
    std::vector<int> expected = draw(cThreads * cDraws);
    Math::Rand::setSeed(3);
    std::vector<std::vector<int>> drawn(cThreads);
    std::vector<std::thread> threads;
    Gate gate;
    for (std::vector<int>& numbers : drawn) {
        threads.emplace_back([&] {
            gate.wait();
            numbers = draw(cDraws);
        });
    }
    gate.open();
    std::vector<int> all;
    for (std::size_t number = 0; number < cThreads; ++number) {
        threads[number].join();
        all.insert(all.end(), drawn[number].begin(), drawn[number].end());
    }
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    CHECK(all == expected);
}
