#include "common/utility/initcounter.h"

#include "tests/support/librarytest.h"

#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(BareTest, "a counter tells the first and the last, and reports what does not match by its name") {
    const std::string name = "123456789012345678901234567";
    const std::string file = "common/utility/initcounter";
    const ExpectedAssertion tooOften("mInitCount > 0\nError Message: Deinit is called to often for: " + name, file, 2);
    const ExpectedAssertion left("mInitCount == 0\nError Message: " + name + " still has 3 initialisations left! ",
                                 file);
    InitCounter counter((name + "890").c_str());
    CHECK_FALSE(counter.deinit());
    CHECK(counter.init());
    CHECK_FALSE(counter.init());
    CHECK_FALSE(counter.deinit());
    CHECK(counter.deinit());
    CHECK_FALSE(counter.deinit());
    for (int times = 3; times != 0; --times)
        counter.init();
    CHECK(InitCounter(nullptr).getName() == std::string());
}
