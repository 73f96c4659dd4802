#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/exceptions/argumentexception.h"
#include "common/memory/allocator.h"
#include "common/memory/memoryexception.h"

#include <cstdlib>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

using Texts = std::vector<std::string>;

/// Both copy operations are one algorithm seen from its two ends.
enum class Direction { WRITE_FROM, READ_TO };
constexpr Direction cDirections[] = {Direction::WRITE_FROM, Direction::READ_TO};

void copy(Direction direction, IO::Stream* src, IO::Stream* dst, uint64 numBytes) {
    if (direction == Direction::WRITE_FROM)
        dst->writeFromStream(src, numBytes);
    else
        src->readToStream(dst, numBytes);
}

/// Claims a length of its own.
class BoastingStream : public RecordingStream {
public:
    BoastingStream(std::string contents, uint64 length) : RecordingStream(std::move(contents)), mLength(length) {}
    uint64 getLength() const override { return mLength; }

private:
    uint64 mLength;
};

/// Notes the sizes of the blocks that it is asked for.
class ObservedAllocator : public Memory::Allocator {
public:
    ObservedAllocator() : Allocator("Observed") {}
    void* alloc(uint32 size) override {
        mSizes.push_back(size);
        return std::malloc(size);
    }
    void free(void* block) override {
        ++mFreed;
        std::free(block);
    }

    std::vector<uint32> mSizes;
    std::size_t mFreed = 0;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a copy moves the bytes between the two positions in pieces of 65535") {
    struct Case {
        uint64 numBytes;
        std::vector<std::string> pieces;
    };
    const Case cases[] = {
        {0, {"0"}},
        {1, {"1"}},
        {65535, {"65535"}},
        {65536, {"65535", "1"}},
        {131070, {"65535", "65535"}},
        {200000, {"65535", "65535", "65535", "3395"}},
    };
    for (const Direction direction : cDirections) {
        for (const Case& each : cases) {
            CAPTURE(each.numBytes);
            RecordingStream src(patternOf(200010));
            RecordingStream dst("head and tail");
            src.seek(3, IO::Stream::SORIGIN_BEGIN);
            dst.seek(5, IO::Stream::SORIGIN_BEGIN);
            src.takeCalls();
            dst.takeCalls();

            copy(direction, &src, &dst, each.numBytes);

            Texts reads, writes;
            for (const std::string& piece : each.pieces) {
                reads.push_back("read " + piece);
                writes.push_back("write " + piece);
            }
            CHECK(src.takeCalls() == reads);
            CHECK(dst.takeCalls() == writes);
            CHECK(src.getPosition() == 3 + each.numBytes);
            const auto length = static_cast<std::size_t>(each.numBytes);
            const bool isCopied = dst.getBytes().substr(0, 5 + length) == "head " + src.getBytes().substr(3, length);
            CHECK(isCopied);
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a copy out of a source that is too short says so and writes what was read, no more") {
    enum class Short { NEVER, IN_PIECE, IN_REST };
    struct Case {
        const char* name;
        uint64 held, told, position, numBytes, copied;
        bool isToldTooShort;
        Short shortRead;
    };
    const Case cases[] = {
        {"fewer bytes are left", 10, 10, 4, 8, 6, true, Short::IN_REST},
        {"a first piece is asked for in vain", 10, 10, 10, 4294967296, 0, true, Short::IN_PIECE},
        {"the position is beyond the end", 10, 10, 20, 5, 0, true, Short::IN_REST},
        {"the source delivers less than it tells", 70000, 200000, 0, 200000, 70000, false, Short::IN_PIECE},
        {"the source delivers more than it tells", 70000, 60000, 0, 70000, 70000, true, Short::NEVER},
    };
    for (const Direction direction : cDirections) {
        for (const Case& each : cases) {
            CAPTURE(each.name);
            const bool isRead = direction == Direction::READ_TO;
            Texts expected;
            if (each.isToldTooShort)
                expected.push_back("bytesAvailable >= numBytes\nError Message: " +
                                   std::string(isRead ? "Tried to write more bytes (" : "Tried to read more bytes (") +
                                   std::to_string(each.numBytes) +
                                   (isRead ? ") to destination stream than left from own pos ("
                                           : ") out of source stream than left from pos (") +
                                   std::to_string(each.position) + (isRead ? ") to own end (" : ") to end (") +
                                   std::to_string(each.told) + ")");
            if (each.shortRead != Short::NEVER)
                expected.push_back(std::string(each.shortRead == Short::IN_PIECE ? "bytesDone == STREAM_COPY_BUFFER"
                                               : isRead                          ? "bytesDone == bytesToRead"
                                                                                 : "bytesDone == bytesToWrite") +
                                   "\nError Message: Error reading bytes from " +
                                   (isRead ? "own stream" : "source stream"));

            BoastingStream src(patternOf(each.held), each.told);
            RecordingStream dst;
            src.seek(static_cast<int64>(each.position), IO::Stream::SORIGIN_BEGIN);
            const AssertionRecorder recorder;
            copy(direction, &src, &dst, each.numBytes);

            Texts seen;
            for (const SeenAssertion& assertion : recorder.getSeen()) {
                CHECK(assertion.file == "common/io/stream");
                seen.push_back(assertion.text);
            }
            CHECK(seen == expected);
            const bool isCopied =
                dst.getBytes() ==
                patternOf(each.position + each.copied).substr(static_cast<std::size_t>(each.position));
            CHECK(isCopied);
            CHECK(dst.takeCalls().empty() == (each.copied == 0));
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "the copy buffer comes from the stream on which the copy is called, and goes back") {
    for (const Direction direction : cDirections) {
        auto* const observed = new ObservedAllocator;
        const Memory::AllocatorPtr own(observed);
        RecordingStream other(patternOf(100));
        auto* const stream = new (own) RecordingStream(patternOf(100));
        observed->mSizes.clear();
        const int64 takenElsewhere = getMemory().getTaken();

        if (direction == Direction::WRITE_FROM)
            stream->writeFromStream(&other);
        else
            stream->readToStream(&other);
        CHECK(observed->mSizes == std::vector<uint32>{65535});
        CHECK(observed->mFreed == 1);
        CHECK(getMemory().getTaken() == takenElsewhere);

        other.failAt(1);
        catchThrown<IO::IOException>([&] {
            if (direction == Direction::WRITE_FROM)
                stream->writeFromStream(&other, 0);
            else
                stream->readToStream(&other, 0);
        });
        CHECK(observed->mFreed == 2);
        delete stream;
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what a stream throws passes through a copy unchanged") {
    for (const Direction direction : cDirections) {
        for (const bool sourceFails : {true, false}) {
            CAPTURE(sourceFails);
            RecordingStream src(patternOf(200000));
            RecordingStream dst;
            (sourceFails ? src : dst).failAt(3);
            checkThrown<IO::IOException>([&] { copy(direction, &src, &dst, 200000); }, "IOException", "test failure");
            CHECK(dst.getBytes().size() == 2 * IO::Stream::STREAM_COPY_BUFFER);
        }
        RecordingStream src("bytes");
        RecordingStream dst;
        getMemory().failAfter(0);
        catchThrown<Memory::OutOfMemoryException>([&] { copy(direction, &src, &dst, 5); });
        getMemory().failNever();
        CHECK(src.takeCalls().empty());
        CHECK(dst.takeCalls().empty());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "the whole of a stream is copied from its start to the other's position") {
    for (const Direction direction : cDirections) {
        RecordingStream src("whole");
        RecordingStream dst("the ");
        src.seek(3, IO::Stream::SORIGIN_BEGIN);
        dst.seek(4, IO::Stream::SORIGIN_BEGIN);
        src.takeCalls();
        if (direction == Direction::WRITE_FROM)
            dst.writeFromStream(&src);
        else
            src.readToStream(&dst);
        CHECK(src.takeCalls() == Texts{"seek 0 3", "read 5"});
        CHECK(dst.getBytes() == "the whole");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a stream is not copied into itself or into nothing") {
    RecordingStream stream("bytes");
    struct Case {
        const char* argumentName;
        void (*copy)(IO::Stream& stream, IO::Stream* other);
    };
    const Case cases[] = {
        {"src", [](IO::Stream& self, IO::Stream* other) { self.writeFromStream(other, 5); }},
        {"src", [](IO::Stream& self, IO::Stream* other) { self.writeFromStream(other); }},
        {"dst", [](IO::Stream& self, IO::Stream* other) { self.readToStream(other, 5); }},
        {"dst", [](IO::Stream& self, IO::Stream* other) { self.readToStream(other); }},
    };
    for (const Case& each : cases) {
        for (IO::Stream* const other : {static_cast<IO::Stream*>(nullptr), static_cast<IO::Stream*>(&stream)}) {
            const auto thrown = catchThrown<Exceptions::ArgumentException>([&] { each.copy(stream, other); });
            CHECK(thrown->getExceptionName() == (other ? "ArgumentException" : "ArgumentNullException"));
            CHECK(thrown->getArgumentName() == each.argumentName);
        }
    }
    CHECK(stream.takeCalls().empty());
}
