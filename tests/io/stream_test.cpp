#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/memory/memoryexception.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Test;
using enum IO::Stream::SeekOrigin;

namespace {

/// Both copy operations are one algorithm seen from its two ends.
enum class Direction { WRITE_FROM, READ_TO };
using enum Direction;

void copy(Direction direction, IO::Stream& src, IO::Stream& dst, uint64 numBytes) {
    direction == WRITE_FROM ? dst.writeFromStream(&src, numBytes) : src.readToStream(&dst, numBytes);
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a copy moves the bytes between the two positions in pieces of 65535") {
    const std::pair<uint64, Texts> cases[] = {
        {0, {"read 0"}},
        {65536, {"read 65535", "read 1"}},
        {200000, {"read 65535", "read 65535", "read 65535", "read 3395"}},
    };
    for (const Direction direction : {WRITE_FROM, READ_TO}) {
        for (const auto& [numBytes, reads] : cases) {
            RecordingStream src("..." + patternOf(200010));
            RecordingStream dst("head and tail");
            src.seek(3, SORIGIN_BEGIN);
            dst.seek(5, SORIGIN_BEGIN);
            src.takeCalls();
            copy(direction, src, dst, numBytes);
            CHECK(src.takeCalls() == reads);
            CHECK(dst.takeCalls().size() == 1 + reads.size());
            CHECK(dst.getBytes().starts_with("head " + patternOf(numBytes)));
        }
        RecordingStream src("whole");
        RecordingStream dst("the ");
        src.seek(3, SORIGIN_BEGIN);
        dst.seek(4, SORIGIN_BEGIN);
        direction == WRITE_FROM ? dst.writeFromStream(&src) : src.readToStream(&dst);
        CHECK(dst.getBytes() == "the whole");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a copy out of a source that is too short says so and writes what was read, no more") {
    struct Case {
        Direction direction;
        int64 position;
        uint64 longestRead, numBytes, copied;
        std::string outcome;
    };
    const Case cases[] = {
        {WRITE_FROM, 99994, 100000, 8, 6,
         "common/io/stream: bytesAvailable >= numBytes\nError Message: Tried to read more bytes (8) out of source "
         "stream than left from pos (99994) to end (100000); common/io/stream: bytesDone == bytesToWrite\nError "
         "Message: Error reading bytes from source stream"},
        {READ_TO, 100020, 100000, 5, 0,
         "common/io/stream: bytesAvailable >= numBytes\nError Message: Tried to write more bytes (5) to destination "
         "stream than left from own pos (100020) to own end (100000); common/io/stream: bytesDone == bytesToRead\n"
         "Error Message: Error reading bytes from own stream"},
        {WRITE_FROM, 0, 4000, 100000, 4000,
         "common/io/stream: bytesDone == STREAM_COPY_BUFFER\nError Message: Error reading bytes from source stream"},
        {READ_TO, 0, 4000, 100000, 4000,
         "common/io/stream: bytesDone == STREAM_COPY_BUFFER\nError Message: Error reading bytes from own stream"},
    };
    for (const Case& each : cases) {
        RecordingStream src(patternOf(100000));
        RecordingStream dst;
        src.seek(each.position, SORIGIN_BEGIN);
        src.limitReads(each.longestRead);
        CHECK(outcomeOf([&] { copy(each.direction, src, dst, each.numBytes); }) == each.outcome);
        CHECK(dst.getBytes().size() == each.copied);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what a stream throws passes through a copy unchanged") {
    for (const Direction direction : {WRITE_FROM, READ_TO}) {
        RecordingStream src(patternOf(200000));
        RecordingStream dst;
        (direction == WRITE_FROM ? src : dst).failAt(3);
        CHECK(outcomeOf([&] { copy(direction, src, dst, 200000); }) == "IOException: test failure");
        CHECK(dst.getPosition() == 2 * 65535);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "the copy buffer comes from the stream on which the copy is called") {
    const Memory::AllocatorPtr globalHeap;
    const std::unique_ptr<RecordingStream> onHeap(new (globalHeap) RecordingStream("bytes"));
    RecordingStream inLibrary("bytes");
    getMemory().failAfter(0);
    onHeap->writeFromStream(&inLibrary);
    onHeap->readToStream(&inLibrary);
    catchThrown<Memory::OutOfMemoryException>([&] { inLibrary.writeFromStream(onHeap.get()); });
    catchThrown<Memory::OutOfMemoryException>([&] { inLibrary.readToStream(onHeap.get()); });
    getMemory().failNever();
}

TEST_CASE_FIXTURE(LibraryTest, "a stream is not copied into itself or into nothing") {
    RecordingStream stream("bytes");
    CHECK(outcomeOf([&] { stream.writeFromStream(&stream); }) ==
          "ArgumentException: Stream: A stream cannot be copied into itself. [src]");
    CHECK(outcomeOf([&] { stream.readToStream(nullptr, 5); }) ==
          "ArgumentNullException: Stream: The other stream of a copy cannot be NULL. [dst]");
}
