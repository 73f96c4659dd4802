#include "common/io/sectionedstream.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include <limits>

using namespace Tarq::Common;
using namespace Tarq::Test;
using enum IO::Stream::SeekOrigin;

TEST_CASE_FIXTURE(LibraryTest, "a section reads its bytes and no others, wherever another has moved the stream below") {
    const std::string bytes = patternOf(1000);
    RecordingStream below(bytes);
    IO::SectionedStream section("entry", &below, 100, 150, false);
    IO::SectionedStream other("other", &below, 125, 2000, false);
    CHECK(section.getLength() == 50);
    CHECK(section.getName() == "entry");
    CHECK((section.canRead() && section.canSeek() && !section.canWrite()));

    CHECK(readText(section, 10) == bytes.substr(100, 10));
    CHECK(readText(other, 1000) == bytes.substr(125));
    CHECK(other.getPosition() == 875);
    CHECK(readText(section, 80) == bytes.substr(110, 40));
    CHECK(readText(section, 80).empty());
    CHECK(section.seek(-1, SORIGIN_END) == 49);
    CHECK(readText(section, (uint64{1} << 32) + 1) == bytes.substr(149, 1));
}

TEST_CASE_FIXTURE(LibraryTest, "an exclusive section seeks only when it does not know where the stream below stands") {
    RecordingStream below(patternOf(100));
    IO::SectionedStream section("entry", &below, 10, 30, true);
    readText(section, 3);
    CHECK(readText(section, 3) == patternOf(19).substr(13, 3));
    section.seek(1, SORIGIN_CURRENT);
    readText(section, 3);
    CHECK(below.takeCalls() == Texts{"seek 10 3", "read 3", "read 3", "seek 17 3", "read 3"});
    below.failAt(1);
    CHECK(outcomeOf([&] { readText(section, 3); }) == "IOException: test failure");
    below.failNever();
    below.seek(77, SORIGIN_BEGIN);
    CHECK(readText(section, 3) == patternOf(23).substr(20));
}

TEST_CASE_FIXTURE(LibraryTest, "a seek stays inside the section, whose end belongs to it") {
    const std::string outside = "ArgumentOutOfRangeException: Seeks out of the range of the stream [offset]";
    struct Case {
        int64 offset;
        int origin;
        uint64 target;
        std::string outcome;
    };
    const Case cases[] = {
        {50, SORIGIN_BEGIN, 50, ""},
        {51, SORIGIN_BEGIN, 20, outside},
        {-50, SORIGIN_END, 0, ""},
        {std::numeric_limits<int64>::min(), SORIGIN_END, 20, outside},
        {-21, SORIGIN_CURRENT, 20, outside},
        {std::numeric_limits<int64>::max(), SORIGIN_CURRENT, 20, outside},
        {0, 7, 20, "ArgumentOutOfRangeException: SectionedStream: Unknown origin '7' specified. [origin]"},
    };
    RecordingStream below(patternOf(1000));
    IO::SectionedStream section("entry", &below, 100, 150, true);
    for (const Case& each : cases) {
        CAPTURE(each.offset);
        const auto origin = static_cast<IO::Stream::SeekOrigin>(each.origin);
        section.seek(20, SORIGIN_BEGIN);
        CHECK(outcomeOf([&] { section.seek(each.offset, origin); }) == each.outcome);
        CHECK(section.getPosition() == each.target);
        CHECK(below.getPosition() == 100 + each.target);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what a section cannot do is asserted and touches nothing") {
    RecordingStream below("bytes");
    IO::SectionedStream section("entry", &below, 1, 3, false);
    CHECK(outcomeOf([&] { section.write("abc", 3); }) ==
          "common/io/sectionedstream: \nError Message: Write not supported in SectionedStream");
    section.close();
    CHECK((section.isClosed() && !section.canRead() && !section.canSeek()));
    CHECK(outcomeOf([&] { CHECK(readText(section, 3).empty()); }) ==
          "common/io/sectionedstream: mFullStream\nError Message: Stream Closed");
    CHECK(outcomeOf([&] { CHECK(IO::SectionedStream("entry", &below, 4, 3, true).getLength() == 0); }) ==
          "common/io/sectionedstream: start <= end && end <= cLargestPosition\nError Message: Invalid section from 4 "
          "to 3");
    CHECK(below.takeCalls().empty());
}
