#include "common/memory/memorystream.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/memory/memoryexception.h"

#include <functional>
#include <limits>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::Stream;
using Memory::MemoryStream;

namespace {

std::string readText(Stream& stream, uint64 numBytes) {
    std::string text(1000, '?');
    text.resize(static_cast<std::size_t>(stream.read(text.data(), numBytes)));
    return text;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "what is written comes back, block by block") {
    MemoryStream stream("stream", 4);
    CHECK(stream.getName() == "stream");
    CHECK(stream.getLength() == 0);
    stream.write("0123456789", 10);
    CHECK(stream.getLength() == 10);
    CHECK(stream.getPosition() == 10);
    CHECK(readText(stream, 1).empty());
    CHECK(stream.seek(0, Stream::SORIGIN_BEGIN) == 0);
    CHECK(readText(stream, (uint64{1} << 32) + 3) == "0123456789");
    CHECK(readText(stream, 10).empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a block is taken only when a byte goes into it, and all go back on close") {
    constexpr uint32 cBlockSize = 1000000;
    const auto blocks = [this] { return getMemory().getBytes() / cBlockSize; };
    const std::string bytes(2 * cBlockSize, 'x');
    MemoryStream stream("stream", cBlockSize);
    CHECK(blocks() == 1);
    stream.write(bytes.data(), bytes.size());
    CHECK(stream.seek(0, Stream::SORIGIN_END) == bytes.size());
    CHECK(readText(stream, 1).empty());
    CHECK(blocks() == 2);
    stream.write("x", 1);
    CHECK(blocks() == 3);
    CHECK(stream.getLength() == bytes.size() + 1);
    stream.close();
    CHECK(blocks() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "any mix of reads, writes and seeks does what it does to plain bytes") {
    std::mt19937 random(11);
    const auto upTo = [&random](std::size_t most) { return static_cast<std::size_t>(random() % (most + 1)); };
    for (const uint32 blockSize : {1u, 3u, 4u, 8u, 64u, 1000u}) {
        CAPTURE(blockSize);
        MemoryStream stream("stream", blockSize);
        std::string model;
        std::size_t position = 0;
        for (int step = 0; step < 4000; ++step) {
            const std::size_t count = upTo(1) != 0 ? upTo(20) : std::size_t{1} << upTo(3);
            switch (upTo(2)) {
            case 0:
                REQUIRE(readText(stream, count) == model.substr(position, count));
                position += std::min(count, model.size() - position);
                break;
            case 1: {
                const std::string bytes = patternOf(upTo(200) + count).substr(0, count);
                if (position + count > 900)
                    break;
                stream.write(bytes.data(), count);
                model.replace(position, count, bytes);
                position += count;
                break;
            }
            default: {
                const std::size_t target = upTo(model.size());
                const std::size_t bases[] = {position, model.size(), 0};
                const std::size_t origin = upTo(2);
                REQUIRE(stream.seek(static_cast<int64>(target) - static_cast<int64>(bases[origin]),
                                    static_cast<Stream::SeekOrigin>(origin + 1)) == target);
                position = target;
            }
            }
            REQUIRE(stream.getPosition() == position);
            REQUIRE(stream.getLength() == model.size());
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a seek outside the stream is refused and does not move") {
    constexpr int64 cMost = std::numeric_limits<int64>::max();
    constexpr int64 cLeast = std::numeric_limits<int64>::min();
    struct Case {
        int64 offset;
        Stream::SeekOrigin origin;
    };
    const Case cases[] = {
        {-1, Stream::SORIGIN_BEGIN},      {9, Stream::SORIGIN_BEGIN},        {1, Stream::SORIGIN_END},
        {-9, Stream::SORIGIN_END},        {4, Stream::SORIGIN_CURRENT},      {-6, Stream::SORIGIN_CURRENT},
        {cMost, Stream::SORIGIN_CURRENT}, {cLeast, Stream::SORIGIN_CURRENT}, {cLeast, Stream::SORIGIN_BEGIN},
        {cMost, Stream::SORIGIN_END},
    };
    MemoryStream stream("stream", 4);
    stream.write("01234567", 8);
    stream.seek(5, Stream::SORIGIN_BEGIN);
    for (const Case& entry : cases) {
        CAPTURE(entry.offset);
        CAPTURE(static_cast<int>(entry.origin));
        const auto thrown = checkThrown<Exceptions::ArgumentOutOfRangeException>(
            [&] { stream.seek(entry.offset, entry.origin); }, "ArgumentOutOfRangeException",
            "Offset leads out of range of the stream");
        CHECK(thrown->getArgumentName() == "offset");
        CHECK(stream.getPosition() == 5);
    }
    const ExpectedAssertion expected("\nError Message: Invalid SeekOrigin in origin specified",
                                     "common/memory/memorystream");
    CHECK(stream.seek(1, static_cast<Stream::SeekOrigin>(0)) == 0);
    CHECK(stream.getPosition() == 5);
}

TEST_CASE_FIXTURE(LibraryTest, "a closed stream answers what it is and throws at everything else") {
    MemoryStream stream("stream", 4);
    stream.write("0123456789", 10);
    stream.close();
    stream.close();
    CHECK(stream.isClosed());
    CHECK(stream.canRead());
    CHECK(stream.canWrite());
    CHECK(stream.canSeek());
    CHECK(stream.getName() == "stream");
    stream.flush();
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"Try to read from a closed MemoryStream", [&] { readText(stream, 4); }},
        {"Try to read from a closed MemoryStream", [&] { readText(stream, 0); }},
        {"Try to write to a closed MemoryStream", [&] { stream.write("abcd", 4); }},
        {"Try to write to a closed MemoryStream", [&] { stream.write("", 0); }},
        {"Try to get length of a closed MemoryStream", [&] { stream.getLength(); }},
        {"Try to get position of a closed MemoryStream", [&] { stream.getPosition(); }},
        {"Try to seek in a closed MemoryStream", [&] { stream.seek(0, Stream::SORIGIN_BEGIN); }},
    };
    for (const auto& [text, body] : cases)
        checkThrown<Exceptions::InvalidStateException>(body, "InvalidStateException", text);

    stream.open();
    CHECK(stream.getLength() == 0);
    CHECK(stream.getPosition() == 0);
    CHECK(readText(stream, 1).empty());
    stream.write("abcde", 5);
    stream.open();
    CHECK(stream.getLength() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a write that finds no memory leaves the stream as it was") {
    constexpr uint32 cBlockSize = 1000000;
    MemoryStream stream("stream", cBlockSize);
    stream.write(patternOf(500).data(), 500);
    stream.seek(300, Stream::SORIGIN_BEGIN);
    const std::string bytes(5 * cBlockSize, 'x');
    for (int64 granted = 0; granted < 4; ++granted) {
        CAPTURE(granted);
        const AssertionRecorder ignored; // the free list tells when it runs out of pages
        getMemory().failAfter(granted);
        catchThrown<Memory::OutOfMemoryException>([&] { stream.write(bytes.data(), bytes.size()); });
        getMemory().failNever();
        CHECK(stream.getLength() == 500);
        CHECK(stream.getPosition() == 300);
        CHECK(getMemory().getBytes() < 2 * cBlockSize);
    }
    CHECK(readText(stream, 1000) == patternOf(500).substr(300));
    stream.write(bytes.data(), bytes.size());
    CHECK(stream.getLength() == 500 + bytes.size());
}

TEST_CASE_FIXTURE(LibraryTest, "opening without memory leaves the stream closed, and making one leaves nothing") {
    MemoryStream stream("stream", 1000);
    getMemory().failAfter(0);
    catchThrown<Memory::OutOfMemoryException>([&] { stream.open(); });
    CHECK(stream.isClosed());
    catchThrown<Memory::OutOfMemoryException>([&] { const MemoryStream another("another", 1000); });
    getMemory().failNever();
    stream.open();
    CHECK_FALSE(stream.isClosed());
}

TEST_CASE_FIXTURE(LibraryTest, "blocks of no bytes assert and have one") {
    const ExpectedAssertion expected("blockSize > 0\nError Message: Block size of a memory stream must be greater 0",
                                     "common/memory/memorystream");
    MemoryStream stream("stream", 0);
    stream.write("abc", 3);
    CHECK(stream.seek(1, Stream::SORIGIN_BEGIN) == 1);
    CHECK(readText(stream, 5) == "bc");
}
