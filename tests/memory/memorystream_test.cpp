#include "common/memory/memorystream.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/memory/memoryexception.h"

#include <algorithm>
#include <limits>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Memory::MemoryStream;
using enum IO::Stream::SeekOrigin;

TEST_CASE_FIXTURE(LibraryTest, "any mix of reads, writes and seeks does what it does to plain bytes") {
    std::mt19937 random(11);
    for (const uint32 blockSize : {1u, 3u, 4u, 8u, 64u, 1000u}) {
        CAPTURE(blockSize);
        MemoryStream stream("stream", blockSize);
        std::string model;
        for (int round = 0; round < 200; ++round)
            mixOperations(stream, model, random);
        stream.seek(0, SORIGIN_BEGIN);
        CHECK(readText(stream, (uint64{1} << 32) + 1) == model);
    }
    CHECK(outcomeOf([&] { MemoryStream("stream", 0).write("abc", 3); }) ==
          "common/memory/memorystream: blockSize > 0\nError Message: Block size of a memory stream must be greater 0");
}

TEST_CASE_FIXTURE(LibraryTest, "a seek outside the stream is refused and does not move") {
    MemoryStream stream("stream", 4);
    stream.write("01234567", 8);
    stream.seek(5, SORIGIN_BEGIN);
    const auto seekTo = [&stream](int64 offset, int origin) {
        return outcomeOf([&] { stream.seek(offset, static_cast<IO::Stream::SeekOrigin>(origin)); });
    };
    const std::string outside = "ArgumentOutOfRangeException: Offset leads out of range of the stream [offset]";
    CHECK(seekTo(-1, SORIGIN_BEGIN) == outside);
    CHECK(seekTo(1, SORIGIN_END) == outside);
    CHECK(seekTo(std::numeric_limits<int64>::min(), SORIGIN_END) == outside);
    CHECK(seekTo(std::numeric_limits<int64>::max(), SORIGIN_CURRENT) == outside);
    CHECK(seekTo(1, 0) == "common/memory/memorystream: \nError Message: Invalid SeekOrigin in origin specified");
    CHECK(stream.getPosition() == 5);
}

TEST_CASE_FIXTURE(LibraryTest, "a read in place hands out what a read copies, or nothing where a block ends") {
    const std::string text = patternOf(20);
    for (uint32 blockSize = 1; blockSize < 30; ++blockSize) {
        for (uint32 start = 0; start <= text.size(); ++start) {
            for (uint32 size = 1; size < 25; ++size) {
                MemoryStream stream("stream", blockSize);
                stream.write(text.data(), text.size());
                CHECK(stream.readInPlace(size) == nullptr);
                CHECK(stream.getPosition() == text.size());
                stream.seek(start, SORIGIN_BEGIN);
                const void* const bytes = stream.readInPlace(size);
                const bool isTogether = start % blockSize + size <= blockSize && start + size <= text.size();
                REQUIRE((bytes != nullptr) == isTogether);
                CHECK(stream.getPosition() == start + (isTogether ? size : 0));
                if (isTogether)
                    CHECK(std::string(static_cast<const char*>(bytes), size) == text.substr(start, size));
            }
        }
    }
    MemoryStream closed("closed", 4);
    closed.write("0123", 4);
    closed.close();
    CHECK((closed.readInPlace(0) == nullptr && closed.readInPlace(~uint32{0}) == nullptr));
    CHECK((closed.writeInPlace(0) == nullptr && closed.writeInPlace(~uint32{0}) == nullptr));
}

TEST_CASE_FIXTURE(LibraryTest, "bytes are stored in place where the current block has room for them") {
    MemoryStream stream("stream", 4);
    const auto store = [&](const std::string& text) {
        void* const room = stream.writeInPlace(static_cast<uint32>(text.size()));
        if (room)
            std::copy(text.begin(), text.end(), static_cast<char*>(room));
        return room != nullptr;
    };
    CHECK(store("ab"));
    CHECK_FALSE(store("cde"));
    CHECK(store("cd"));
    CHECK_FALSE(store("e"));
    stream.write("efg", 3);
    CHECK(store("h"));
    CHECK(stream.getLength() == 8);
    // What is there is overwritten.
    stream.seek(1, SORIGIN_BEGIN);
    CHECK(store("BCD"));
    CHECK((stream.getPosition() == 4 && stream.getLength() == 8));
    stream.seek(0, SORIGIN_BEGIN);
    CHECK(readText(stream, 8) == "aBCDefgh");
}

TEST_CASE_FIXTURE(LibraryTest, "a closed stream answers what it is and throws at everything else") {
    MemoryStream stream("stream", 4);
    stream.write("01234567", 8);
    stream.close();
    CHECK((stream.isClosed() && stream.canRead() && stream.canWrite() && stream.canSeek()));
    const std::string state = "InvalidStateException: Try to ";
    CHECK(outcomeOf([&] { stream.read(nullptr, 0); }) == state + "read from a closed MemoryStream");
    CHECK(outcomeOf([&] { stream.write("a", 1); }) == state + "write to a closed MemoryStream");
    CHECK(outcomeOf([&] { stream.getLength(); }) == state + "get length of a closed MemoryStream");
    CHECK(outcomeOf([&] { stream.getPosition(); }) == state + "get position of a closed MemoryStream");
    CHECK(outcomeOf([&] { stream.seek(0, SORIGIN_BEGIN); }) == state + "seek in a closed MemoryStream");
    stream.open();
    CHECK(stream.getLength() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a write that finds no memory leaves the stream as it was, and an opening closed") {
    constexpr uint32 cBlockSize = 1000000;
    const auto blocks = [this] { return getMemory().getBytes() / cBlockSize; };
    const std::string bytes = patternOf(5 * cBlockSize);
    MemoryStream stream("stream", cBlockSize);
    stream.write(bytes.data(), cBlockSize);
    CHECK(blocks() == 1);
    stream.seek(-300, SORIGIN_CURRENT);
    for (int64 granted = 0; granted < 4; ++granted) {
        CAPTURE(granted);
        const AssertionRecorder ignored; // the free list tells when it runs out of pages
        getMemory().failAfter(granted);
        catchThrown<Memory::OutOfMemoryException>([&] { stream.write(bytes.data(), bytes.size()); });
        getMemory().failNever();
        CHECK(stream.getLength() == cBlockSize);
        CHECK(stream.getPosition() == cBlockSize - 300);
        CHECK(blocks() == 1);
    }
    CHECK(readText(stream, 1000) == bytes.substr(cBlockSize - 300, 300));
    stream.write(bytes.data(), bytes.size());
    CHECK(stream.getLength() == 6 * cBlockSize);
    CHECK(blocks() == 6);
    getMemory().failAfter(0);
    catchThrown<Memory::OutOfMemoryException>([&] { stream.open(); });
    getMemory().failNever();
    CHECK(stream.isClosed());
    CHECK(blocks() == 0);
}
