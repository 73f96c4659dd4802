#include "common/io/sectionedstream.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"

#include <limits>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::Stream;

namespace {

using Texts = std::vector<std::string>;

std::string readText(Stream& stream, uint64 numBytes) {
    std::string text(100, '?');
    text.resize(static_cast<std::size_t>(stream.read(text.data(), numBytes)));
    return text;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a section reads its bytes and no others") {
    const std::string bytes = patternOf(1000);
    RecordingStream below(bytes);
    IO::SectionedStream section("entry", &below, 100, 150, false);
    CHECK(section.getLength() == 50);
    CHECK(section.getPosition() == 0);
    CHECK(section.getName() == "entry");
    CHECK(section.canRead());
    CHECK(section.canSeek());
    CHECK_FALSE(section.canWrite());

    CHECK(readText(section, 10) == bytes.substr(100, 10));
    CHECK(section.getPosition() == 10);
    CHECK(readText(section, 80) == bytes.substr(110, 40));
    CHECK(readText(section, 80).empty());
    CHECK(section.seek(-1, Stream::SORIGIN_END) == 49);
    CHECK(readText(section, (uint64{1} << 32) + 1) == bytes.substr(149, 1));
}

TEST_CASE_FIXTURE(LibraryTest, "sections of one stream are read in turn") {
    const std::string bytes = patternOf(100);
    RecordingStream below(bytes);
    IO::SectionedStream first("first", &below, 10, 30, false);
    IO::SectionedStream second("second", &below, 25, 60, false);
    CHECK(readText(first, 3) == bytes.substr(10, 3));
    CHECK(readText(second, 3) == bytes.substr(25, 3));
    CHECK(readText(first, 3) == bytes.substr(13, 3));
    CHECK(readText(second, 3) == bytes.substr(28, 3));
}

TEST_CASE_FIXTURE(LibraryTest, "an exclusive section seeks only when it does not know where the stream below stands") {
    const std::string bytes = patternOf(100);
    RecordingStream below(bytes);
    IO::SectionedStream section("entry", &below, 10, 30, true);
    CHECK(readText(section, 3) == bytes.substr(10, 3));
    CHECK(readText(section, 3) == bytes.substr(13, 3));
    CHECK(below.takeCalls() == Texts{"seek 10 3", "read 3", "read 3"});
    section.seek(1, Stream::SORIGIN_CURRENT);
    CHECK(readText(section, 3) == bytes.substr(17, 3));
    CHECK(below.takeCalls() == Texts{"seek 17 3", "read 3"});

    below.failAt(1);
    catchThrown<IO::IOException>([&] { readText(section, 3); });
    below.failNever();
    below.seek(77, Stream::SORIGIN_BEGIN);
    CHECK(readText(section, 3) == bytes.substr(20, 3));
}

TEST_CASE_FIXTURE(LibraryTest, "a read that comes short, or fails, moves the position by what came") {
    RecordingStream below(patternOf(100));
    IO::SectionedStream section("entry", &below, 90, 120, false);
    below.limitReads(4);
    CHECK(readText(section, 8).size() == 4);
    CHECK(section.getPosition() == 4);
    below.failAt(2);
    catchThrown<IO::IOException>([&] { readText(section, 8); });
    below.failNever();
    below.limitReads(100);
    CHECK(section.getPosition() == 4);
    CHECK(readText(section, 20) == patternOf(100).substr(94));
    CHECK(readText(section, 20).empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a seek stays inside the section, whose end belongs to it") {
    struct Case {
        int64 offset;
        Stream::SeekOrigin origin;
        int target; ///< -1: refused
    };
    constexpr int64 cMost = std::numeric_limits<int64>::max();
    constexpr int64 cLeast = std::numeric_limits<int64>::min();
    const Case cases[] = {
        {0, Stream::SORIGIN_BEGIN, 0},     {50, Stream::SORIGIN_BEGIN, 50},    {51, Stream::SORIGIN_BEGIN, -1},
        {-1, Stream::SORIGIN_BEGIN, -1},   {cMost, Stream::SORIGIN_BEGIN, -1}, {0, Stream::SORIGIN_END, 50},
        {-50, Stream::SORIGIN_END, 0},     {-51, Stream::SORIGIN_END, -1},     {1, Stream::SORIGIN_END, -1},
        {cLeast, Stream::SORIGIN_END, -1}, {-20, Stream::SORIGIN_CURRENT, 0},  {-21, Stream::SORIGIN_CURRENT, -1},
        {30, Stream::SORIGIN_CURRENT, 50}, {31, Stream::SORIGIN_CURRENT, -1},  {cMost, Stream::SORIGIN_CURRENT, -1},
    };
    for (const Case& entry : cases) {
        CAPTURE(entry.offset);
        CAPTURE(static_cast<int>(entry.origin));
        RecordingStream below(patternOf(1000));
        IO::SectionedStream section("entry", &below, 100, 150, true);
        section.seek(20, Stream::SORIGIN_BEGIN);
        if (entry.target < 0) {
            const auto thrown = checkThrown<Exceptions::ArgumentOutOfRangeException>(
                [&] { section.seek(entry.offset, entry.origin); }, "ArgumentOutOfRangeException",
                "Seeks out of the range of the stream");
            CHECK(thrown->getArgumentName() == "offset");
        } else {
            CHECK(section.seek(entry.offset, entry.origin) == static_cast<uint64>(entry.target));
        }
        CHECK(section.getPosition() == static_cast<uint64>(entry.target < 0 ? 20 : entry.target));
        CHECK(below.getPosition() == 100 + section.getPosition());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an unknown origin and a failing seek leave the section where it is") {
    RecordingStream below(patternOf(100));
    IO::SectionedStream section("entry", &below, 10, 30, false);
    section.seek(5, Stream::SORIGIN_BEGIN);
    const auto thrown = checkThrown<Exceptions::ArgumentOutOfRangeException>(
        [&] { section.seek(0, static_cast<Stream::SeekOrigin>(7)); }, "ArgumentOutOfRangeException",
        "SectionedStream: Unknown origin '7' specified.");
    CHECK(thrown->getArgumentName() == "origin");
    below.failAt(1);
    catchThrown<IO::IOException>([&] { section.seek(9, Stream::SORIGIN_BEGIN); });
    CHECK(section.getPosition() == 5);
}

TEST_CASE_FIXTURE(LibraryTest, "a section that cannot be asserts and is empty") {
    struct Case {
        uint64 start;
        uint64 end;
        const char* text;
    };
    const Case cases[] = {
        {150, 100, "Invalid section from 150 to 100"},
        {5, uint64{1} << 63, "Invalid section from 5 to 9223372036854775808"},
    };
    for (const auto& [start, end, text] : cases) {
        RecordingStream below(patternOf(1000));
        const ExpectedAssertion expected(std::string("start <= end && end <= cLargestPosition\nError Message: ") + text,
                                         "common/io/sectionedstream");
        IO::SectionedStream section("entry", &below, start, end, true);
        CHECK(section.getLength() == 0);
        CHECK(readText(section, 10).empty());
        CHECK(section.seek(0, Stream::SORIGIN_END) == 0);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "writing and reading a detached section assert and touch nothing") {
    RecordingStream below(patternOf(100));
    IO::SectionedStream section("entry", &below, 10, 30, false);
    {
        const ExpectedAssertion expected("\nError Message: Write not supported in SectionedStream",
                                         "common/io/sectionedstream");
        section.write("abc", 3);
    }
    section.close();
    CHECK(section.isClosed());
    CHECK_FALSE(section.canRead());
    CHECK_FALSE(section.canSeek());
    CHECK(section.getLength() == 20);
    {
        const ExpectedAssertion expected("mFullStream\nError Message: Stream Closed", "common/io/sectionedstream");
        CHECK(readText(section, 3).empty());
    }
    checkThrown<Exceptions::InvalidStateException>([&] { section.seek(0, Stream::SORIGIN_BEGIN); },
                                                   "InvalidStateException",
                                                   "SectionedStream: Cannot seek on closed streams.");
    CHECK(below.takeCalls().empty());
    CHECK(below.getBytes() == patternOf(100));
    CHECK_FALSE(below.isClosed());
}
