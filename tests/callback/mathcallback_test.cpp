#include "common/callback/mathcallback.h"

#include "tests/support/librarytest.h"

#include <set>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(BareTest, "the default generator repeats its sequence for the same seed, in 15 bits") {
    Callback::MathCallback callback;
    const auto draw = [&callback](unsigned int seed) {
        callback.initalizeRandomGenerator(seed);
        std::vector<unsigned int> numbers(1000);
        for (unsigned int& number : numbers)
            number = callback.getRandomNumber();
        return numbers;
    };
    const auto first = draw(5);
    CHECK(draw(5) == first);
    CHECK(draw(6) != first);
    CHECK(*std::max_element(first.begin(), first.end()) <= 32767);
    CHECK(*std::max_element(first.begin(), first.end()) > 32000);
    CHECK(std::set<unsigned int>(first.begin(), first.end()).size() > 900);
}
