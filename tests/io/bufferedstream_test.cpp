#include "common/io/bufferedstream.h"

#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/streams.h"

#include "common/io/filestream.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::BufferedStream;
using enum IO::Stream::SeekOrigin;

TEST_CASE_FIXTURE(LibraryTest, "small reads and writes become one call below for each buffer") {
    RecordingStream below(patternOf(20));
    BufferedStream stream(&below, 4);
    CHECK(readText(stream, 3) == patternOf(3));
    CHECK(readText(stream, 7) == patternOf(10).substr(3));
    CHECK(below.takeCalls() == Texts{"read 4", "read 4", "read 4"});
    CHECK(stream.getPosition() == 10);
    stream.write("abcdefghijklm", 13);
    CHECK(below.takeCalls() == Texts{"seek -2 1", "write 4", "write 4", "write 4"});
    CHECK(stream.getLength() == 22);
    CHECK(stream.getPosition() == 23);
    stream.flush();
    CHECK(below.takeCalls() == Texts{"write 1", "flush"});
    CHECK(below.getBytes() == patternOf(10) + "abcdefghijklm");
}

TEST_CASE_FIXTURE(LibraryTest, "a seek calls below only when it leaves the buffer") {
    struct Case {
        int64 offset;
        IO::Stream::SeekOrigin origin;
        uint32 target;
        Texts calls;
    };
    const Case cases[] = {
        {-2, SORIGIN_CURRENT, 8, {}},
        {6, SORIGIN_CURRENT, 16, {"seek -6 1", "seek 6 1"}},
        {7, SORIGIN_BEGIN, 7, {"seek -6 1", "seek 7 3"}},
        {-5, SORIGIN_END, 15, {}},
        {0, SORIGIN_END, 20, {"seek -6 1", "seek 0 2"}},
    };
    for (const Case& each : cases) {
        CAPTURE(each.target);
        RecordingStream below(patternOf(20));
        BufferedStream stream(&below, 8);
        readText(stream, 10);
        below.takeCalls();
        CHECK(stream.seek(each.offset, each.origin) == each.target);
        CHECK(below.takeCalls() == each.calls);
        CHECK(readText(stream, 3) == patternOf(20).substr(each.target, 3));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "any mix of reads, writes and seeks does what it does to plain bytes") {
    std::mt19937 random(7);
    for (const uint32 bufferSize : {1u, 2u, 7u, 16u, 300u}) {
        CAPTURE(bufferSize);
        std::string model = patternOf(100);
        RecordingStream below(model);
        BufferedStream stream(&below, bufferSize);
        for (int round = 0; round < 200; ++round) {
            mixOperations(stream, model, random);
            REQUIRE(below.getPosition() == stream.getPosition());
            REQUIRE(below.getBytes() == model);
        }
        below.limitReads(3);
        stream.seek(0, SORIGIN_BEGIN);
        CHECK(readText(stream, (uint64{1} << 32) + 1) == model);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "the stream below may be moved by others while no byte is unread or pending") {
    RecordingStream below(patternOf(40));
    BufferedStream stream(&below, 8);
    readText(stream, 3);
    CHECK(stream.getPosition() == 3);
    readText(stream, 5);
    below.seek(20, SORIGIN_BEGIN);
    CHECK(stream.getPosition() == 20);
    CHECK(readText(stream, 3) == patternOf(40).substr(20, 3));
    CHECK(stream.seek(1, SORIGIN_CURRENT) == 24);
    stream.clearBuffer();
    below.seek(30, SORIGIN_BEGIN);
    CHECK(stream.getPosition() == 30);
    CHECK(readText(stream, 3) == patternOf(40).substr(30, 3));
}

TEST_CASE_FIXTURE(LibraryTest,
                  "pending bytes that are refused never come again, and bytes that cannot be given back are not lost") {
    RecordingStream below;
    BufferedStream stream(&below, 8);
    stream.write("abc", 3);
    below.failAt(1);
    CHECK(outcomeOf([&] { stream.flush(); }) == "IOException: test failure");
    below.failNever();
    CHECK(stream.getPosition() == 0);
    stream.write("de", 2);
    stream.flush();
    CHECK(below.getBytes() == "de");
    CHECK(stream.seek(0, SORIGIN_BEGIN) == 0);
    CHECK(readText(stream, 1) == "d");
    below.failAt(1);
    CHECK(outcomeOf([&] { stream.write("X", 1); }) == "IOException: test failure");
    CHECK(readText(stream, 1) == "e");

    IO::FileStream unwritable("/dev/null", IO::FileStream::FACCESS_READ, IO::FileStream::FMODE_OPEN);
    BufferedStream onUnwritable(&unwritable, 8);
    onUnwritable.write("abc", 3);
    CHECK(outcomeOf([&] { onUnwritable.flush(); }) ==
          "NotSupportedException: FileStream: Cannot write to the file. Not opened for writing.");
    CHECK(onUnwritable.getPosition() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "whatever fails while it closes, it is detached and tells the first failure") {
    using Owner = std::unique_ptr<BufferedStream>;
    const std::string failure = "IOException: test failure", logged = "Closing a stream has failed: test failure ";
    struct Case {
        int failingCall;
        void (*body)(Owner& stream);
        std::string outcome, messages;
        Texts calls;
    };
    const Case cases[] = {
        {1, [](Owner& stream) { stream->close(); }, failure, logged, {"write 3", "close"}},
        {2, [](Owner& stream) { stream->close(); }, failure, "", {"write 3", "close"}},
        {1, [](Owner& stream) { stream->releaseAndClose(); }, failure, "", {"write 3"}},
        {1, [](Owner& stream) { stream.reset(); }, "", logged + logged, {"write 3", "close"}},
    };
    for (const Case& each : cases) {
        RecordingListener listener(Debug::LOG_ERROR);
        RecordingStream below;
        Owner stream(new (allocator()) BufferedStream(&below, 8));
        stream->write("abc", 3);
        below.failAt(each.failingCall);
        CHECK(outcomeOf([&] { each.body(stream); }) == each.outcome);
        CHECK(below.takeCalls() == each.calls);
        CHECK(listener.messages() == each.messages);
        CHECK((!stream || stream->isClosed()));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a detached stream answers what it is and throws at everything else") {
    RecordingStream below;
    BufferedStream stream(&below, 8);
    stream.write("abc", 3);
    stream.seek(-2, SORIGIN_CURRENT);
    stream.close();
    stream.close();
    stream.releaseAndClose();
    CHECK(below.takeCalls() == Texts{"write 3", "close"});
    CHECK((stream.isClosed() && !stream.canRead() && !stream.canWrite() && !stream.canSeek()));
    const std::string closed = "InvalidStateException: BufferedStream: ";
    CHECK(outcomeOf([&] { readText(stream, 1); }) == closed + "Cannot read on closed streams.");
    CHECK(outcomeOf([&] { stream.flush(); }) == closed + "Cannot flush on closed streams.");
    CHECK(outcomeOf([&] { stream.getPosition(); }) == closed + "Try to get position of closed stream.");

    BufferedStream reader(&below, 8);
    below.seek(0, SORIGIN_BEGIN);
    readText(reader, 1);
    below.close();
    below.takeCalls();
    reader.close();
    CHECK(below.takeCalls() == Texts{"close"});
}

TEST_CASE_FIXTURE(LibraryTest, "a buffer of no bytes and a position before the start are asserted") {
    RecordingStream below("abc");
    const ExpectedAssertion empty("mBufferSize > 0\nError Message: Buffersize must be greater 0",
                                  "common/io/bufferedstream");
    BufferedStream stream(&below, 0);
    CHECK(readText(stream, 2) == "ab");
    CHECK(outcomeOf([&] { stream.seek(-3, SORIGIN_CURRENT); }) ==
          "common/io/bufferedstream: fullPos >= 0\nError Message: Seeked out of the range of the stream, invalid "
          "position-1");
    CHECK(below.takeCalls() == Texts{"read 1", "read 1", "seek -3 1"});
}

TEST_CASE_FIXTURE(LibraryTest, "a shared stream below lives as long as it is attached") {
    const IO::StreamPtr below(new (allocator()) RecordingStream("abc"));
    BufferedStream stream(below, 8);
    CHECK(readText(stream, 1) == "a");
    CHECK(below.getReferenceCount() == 2);
    stream.releaseAndClose();
    CHECK(below.getReferenceCount() == 1);
    CHECK(below->getPosition() == 1);
    { const BufferedStream another(below, 8); }
    CHECK(below->isClosed());
}
