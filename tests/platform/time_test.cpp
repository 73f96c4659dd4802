#include "common/platform/time.h"

#include "tests/support/librarytest.h"

#include <chrono>

using namespace Tarq::Common;
using namespace Tarq::Common::Platform;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "both clocks run at the speed of real time, together and never backwards") {
    using std::chrono::steady_clock;
    const auto before = steady_clock::now();
    const MicroSeconds start = Time::getPerformanceCount();
    MicroSeconds last = start;
    while ((last - start).mCount < 20000) {
        const MilliSeconds wallBefore = Time::getWallTime();
        const MicroSeconds now = Time::getPerformanceCount();
        const MilliSeconds wallAfter = Time::getWallTime();
        REQUIRE(now >= last);
        // One tick late, and on a busy machine some.
        const MilliSeconds coarse = Time::getCoarseWallTime();
        REQUIRE((Time::getWallTime() - coarse).mCount < 1000);
        const auto milliseconds = static_cast<uint32>(now.mCount / 1000);
        REQUIRE(milliseconds - wallBefore.mCount <= wallAfter.mCount - wallBefore.mCount);
        last = now;
    }
    CHECK(steady_clock::now() - before >= std::chrono::microseconds(19999));
}

TEST_CASE_FIXTURE(LibraryTest, "time spans are right across a wrap") {
    CHECK((MilliSeconds{5} - MilliSeconds{0xFFFFFFFE}).mCount == 7);
}
