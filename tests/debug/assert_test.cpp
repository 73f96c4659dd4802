#include "common/debug/assert.h"

#include "common/debug/logtype.h"
#include "common/string.h"
#include "tests/support/librarytest.h"

#include <limits>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

const char* const cThisFile = "tests/debug/assert_test";

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an assertion shows its condition and its pieces") {
    const struct {
        bool (*assertSomething)();
        const char* text;
    } cases[] = {
        {[] { return TARQ_ASSERT(1 + 1 == 3, "sum"); }, "1 + 1 == 3\nError Message: sum"},
        {[] { return TARQ_ASSERT_AS("a == b", false, "x"); }, "a == b\nError Message: x"},
        {[] { return TARQ_FAIL("no condition"); }, "\nError Message: no condition"},
        {[] { return TARQ_FAIL("a", String("b"), std::string("c"), std::string_view("de", 1)); },
         "\nError Message: abcd"},
        {[] { return TARQ_FAIL(static_cast<const char*>(nullptr), String(), "|"); }, "\nError Message: |"},
        {[] { return TARQ_FAIL("\"", 0, " ", -7, " ", uint8{255}, " ", int16{-32768}, "\""); },
         "\nError Message: \"0 -7 255 -32768\""},
        {[] { return TARQ_FAIL(std::numeric_limits<uint64>::max(), " ", std::numeric_limits<int64>::min()); },
         "\nError Message: 18446744073709551615 -9223372036854775808"},
        {[] { return TARQ_FAIL(1.5, " ", -0.1f, " ", 1.0 / 3, " ", 1e300); },
         "\nError Message: 1.5 -0.1 0.333333 1e+300"},
        {[] { return TARQ_FAIL(Debug::LOG_ERROR, " ", std::string_view("a\0b", 3)); }, "\nError Message: 16 a b"},
    };
    for (const auto& each : cases) {
        CAPTURE(each.text);
        const ExpectedAssertion expected(each.text, cThisFile);
        CHECK(!each.assertSomething());
    }
    int built = 0;
    CHECK(TARQ_ASSERT(built == 0, ++built));
    CHECK(built == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "an assertion arrives with the line where it stands") {
    const AssertionRecorder recorder;
    TARQ_FAIL("here");
    const unsigned line = __LINE__ - 1;
    REQUIRE(recorder.getSeen().size() == 1);
    CHECK(recorder.getSeen()[0].file == cThisFile);
    CHECK(recorder.getSeen()[0].line == line);
}

TEST_CASE_FIXTURE(BareTest, "a source is named from common/ on, without its extension") {
    const struct {
        const char* path;
        const char* name;
    } cases[] = {
        {"/kit/source/common/io/stream.h", "common/io/stream"},
        {"../common/string.h", "common/string"},
        {"common/host/common/io/stream.h", "common/io/stream"},
        {"common/uncommon/x.cpp", "common/uncommon/x"},
        {"uncommon/x.cpp", "uncommon/x"},
        {"src/host.test.cpp", "src/host.test"},
        {"./dir.d/host", "./dir.d/host"},
        {"host", "host"},
        {"", ""},
    };
    for (const auto& each : cases) {
        CAPTURE(each.path);
        CHECK(Debug::sourceNameOf(each.path) == each.name);
    }
    CHECK(std::string_view(TARQ_SOURCE_NAME) == cThisFile);
}
