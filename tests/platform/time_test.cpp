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
        const auto milliseconds = static_cast<uint32>(now.mCount / 1000);
        REQUIRE(milliseconds - wallBefore.mCount <= wallAfter.mCount - wallBefore.mCount);
        last = now;
    }
    const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(steady_clock::now() - before).count();
    CHECK(elapsed >= 19999);
    CHECK((Time::getPerformanceCount() - last).mCount < 60000000);
}

TEST_CASE_FIXTURE(LibraryTest, "time spans are right across a wrap, and there is no calendar") {
    CHECK((MilliSeconds{5} - MilliSeconds{0xFFFFFFFE}).mCount == 7);
    CHECK((MicroSeconds{7} - MicroSeconds{5}) == MicroSeconds{2});
    CHECK(Time::getGMTTime() == MilliSeconds{0});
    CHECK(Time::getLocalTime() == MilliSeconds{0});
}
