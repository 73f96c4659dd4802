#include "common/utility/initcounter.h"

#include "tests/support/librarytest.h"

#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

const std::string cFile = "common/utility/initcounter";

} // namespace

TEST_CASE_FIXTURE(BareTest, "a counter's name keeps its first 27 characters") {
    const std::string full = "123456789012345678901234567";
    CHECK(InitCounter(nullptr).getName() == std::string());
    CHECK(InitCounter("Common").getName() == std::string("Common"));
    CHECK(InitCounter(full.c_str()).getName() == full);
    CHECK(InitCounter((full + "890").c_str()).getName() == full);
}

TEST_CASE_FIXTURE(BareTest, "a counter tells the first and the last, and reports what does not match") {
    const ExpectedAssertion tooOften("mInitCount > 0\nError Message: Deinit is called to often for: Net", cFile, 2);
    const ExpectedAssertion left("mInitCount == 0\nError Message: Net still has 3 initialisations left! ", cFile);
    InitCounter counter("Net");
    CHECK_FALSE(counter.deinit());
    CHECK(counter.init());
    CHECK_FALSE(counter.init());
    CHECK_FALSE(counter.deinit());
    CHECK(counter.deinit());
    CHECK_FALSE(counter.deinit());
    CHECK(counter.getInitCount() == 0);
    for (int times = 3; times != 0; --times)
        counter.init();
}
