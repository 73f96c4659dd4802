#include "common/io/bufferedstream.h"

#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/streams.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/memory/memoryexception.h"
#include "common/memory/memorystream.h"

#include <functional>
#include <random>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::Stream;

namespace {

using Texts = std::vector<std::string>;

/// Counts the questions for the position, which a recording stream does not record.
class AskedStream : public RecordingStream {
public:
    using RecordingStream::RecordingStream;
    uint64 getPosition() const override {
        ++mAsked;
        return RecordingStream::getPosition();
    }

    mutable int mAsked = 0;
};

/// Reads and writes where it stands, and nowhere else.
class OneWayStream : public RecordingStream {
public:
    using RecordingStream::RecordingStream;
    bool canSeek() const override { return false; }
    uint64 seek(int64, SeekOrigin) override { throw new IO::IOException("cannot seek"); }
};

std::string readText(Stream& stream, uint64 numBytes) {
    std::string text(100, '?');
    text.resize(static_cast<std::size_t>(stream.read(text.data(), numBytes)));
    return text;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "small reads and writes become one call below for each buffer") {
    RecordingStream below(patternOf(20));
    IO::BufferedStream stream(&below, 4);

    SUBCASE("reads") {
        std::string text;
        for (const uint64 count : {3u, 4u, 3u})
            text += readText(stream, count);
        CHECK(text == patternOf(10));
        CHECK(below.takeCalls() == Texts{"read 4", "read 4", "read 4"});
        CHECK(stream.getPosition() == 10);
        CHECK(below.getPosition() == 12);
    }
    SUBCASE("a read across the end, also one of more than 4 GiB") {
        below.limitReads(3);
        CHECK(readText(stream, (uint64{1} << 32) + 5) == patternOf(20));
        CHECK(readText(stream, 1).empty());
        CHECK(stream.getPosition() == 20);
    }
    SUBCASE("writes") {
        stream.write("abc", 3);
        CHECK(below.takeCalls().empty());
        CHECK(stream.getPosition() == 3);
        stream.write("d", 1);
        CHECK(below.takeCalls() == Texts{"write 4"});
        stream.write("efghijklm", 9);
        CHECK(below.takeCalls() == Texts{"write 4", "write 4"});
        CHECK(stream.getLength() == 20);
        stream.flush();
        CHECK(below.takeCalls() == Texts{"write 1", "flush"});
        CHECK(below.getBytes().substr(0, 14) == "abcdefghijklm\x0d");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a change between reading and writing hands the buffer on first") {
    RecordingStream below("0123456789");
    IO::BufferedStream stream(&below, 8);
    stream.write("abc", 3);
    CHECK(readText(stream, 2) == "34");
    CHECK(below.takeCalls() == Texts{"write 3", "read 8"});
    stream.write("de", 2);
    stream.close();
    CHECK(below.takeCalls() == Texts{"seek -5 1", "write 2", "close"});
    CHECK(below.getBytes() == "abc34de789");
}

TEST_CASE_FIXTURE(LibraryTest, "a seek calls below only when it leaves the buffer") {
    struct Case {
        const char* name;
        int64 offset;
        Stream::SeekOrigin origin;
        uint64 target;
        Texts calls;
    };
    const Case cases[] = {
        {"to where it is", 0, Stream::SORIGIN_CURRENT, 10, {}},
        {"to the first byte of the buffer", -2, Stream::SORIGIN_CURRENT, 8, {}},
        {"to the last byte of the buffer", 5, Stream::SORIGIN_CURRENT, 15, {}},
        {"right behind the buffer", 6, Stream::SORIGIN_CURRENT, 16, {"seek -6 1", "seek 6 1"}},
        {"right in front of the buffer", -3, Stream::SORIGIN_CURRENT, 7, {"seek -6 1", "seek -3 1"}},
        {"counted from the start, inside", 8, Stream::SORIGIN_BEGIN, 8, {}},
        {"counted from the start, outside", 7, Stream::SORIGIN_BEGIN, 7, {"seek -6 1", "seek 7 3"}},
        {"counted from the end, inside", -5, Stream::SORIGIN_END, 15, {}},
        {"counted from the end, outside", 0, Stream::SORIGIN_END, 20, {"seek -6 1", "seek 0 2"}},
    };
    for (const Case& entry : cases) {
        CAPTURE(entry.name);
        RecordingStream below(patternOf(20));
        IO::BufferedStream stream(&below, 8);
        readText(stream, 10);
        below.takeCalls();
        CHECK(stream.seek(entry.offset, entry.origin) == entry.target);
        CHECK(below.takeCalls() == entry.calls);
        CHECK(stream.getPosition() == entry.target);
        CHECK(readText(stream, 3) == patternOf(20).substr(static_cast<std::size_t>(entry.target), 3));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "skipping through a stream asks the stream below once where it is") {
    AskedStream below(patternOf(1000));
    IO::BufferedStream stream(&below, 64);
    readText(stream, 1);
    for (int round = 0; round < 200; ++round) {
        stream.seek(2, Stream::SORIGIN_CURRENT);
        readText(stream, 2);
    }
    CHECK(stream.getPosition() == 801);
    CHECK(below.mAsked == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "the stream below may be moved by others while the buffer is empty") {
    RecordingStream below(patternOf(30));
    IO::BufferedStream stream(&below, 8);
    readText(stream, 3);
    stream.seek(1, Stream::SORIGIN_CURRENT);
    stream.flush();
    CHECK(stream.getPosition() == 4);
    below.seek(20, Stream::SORIGIN_BEGIN);
    CHECK(stream.getPosition() == 20);
    CHECK(readText(stream, 3) == patternOf(30).substr(20, 3));
}

TEST_CASE_FIXTURE(LibraryTest,
                  "after a seek back inside pending bytes all of them arrive, and both streams stand there") {
    struct Case {
        const char* name;
        uint64 position;
        std::function<void(IO::BufferedStream&)> handOn;
    };
    const Case cases[] = {
        {"flush", 4, [](auto& stream) { stream.flush(); }},
        {"a read", 4, [](auto& stream) { readText(stream, 0); }},
        {"a seek to the front", 0, [](auto& stream) { stream.seek(0, Stream::SORIGIN_BEGIN); }},
        {"a seek by an offset", 9, [](auto& stream) { stream.seek(5, Stream::SORIGIN_CURRENT); }},
        {"releaseAndClose", 4, [](auto& stream) { stream.releaseAndClose(); }},
    };
    for (const Case& entry : cases) {
        CAPTURE(entry.name);
        RecordingStream below("0123456789");
        IO::BufferedStream stream(&below, 8);
        stream.seek(1, Stream::SORIGIN_BEGIN);
        stream.write("abcdef", 6);
        CHECK(stream.seek(-4, Stream::SORIGIN_CURRENT) == 3);
        stream.write("X", 1);
        CHECK(stream.getPosition() == 4);
        CHECK(below.getBytes() == "0123456789");
        entry.handOn(stream);
        CHECK(below.getBytes() == "0abXdef789");
        CHECK(below.getPosition() == entry.position);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "any mix of reads, writes and seeks does what it does to plain bytes") {
    std::mt19937 random(7);
    const auto upTo = [&random](uint32 most) { return static_cast<uint32>(random() % (most + 1)); };
    for (const uint32 bufferSize : {1u, 2u, 7u, 16u, 300u}) {
        CAPTURE(bufferSize);
        std::string model = patternOf(100);
        std::size_t position = 0;
        RecordingStream below(model);
        IO::BufferedStream stream(&below, bufferSize);
        for (int step = 0; step < 4000; ++step) {
            const uint32 count = upTo(1) != 0 ? upTo(9) : 1u << upTo(3);
            switch (upTo(3)) {
            case 0:
                CHECK(readText(stream, count) == model.substr(position, count));
                position += std::min<std::size_t>(count, model.size() - position);
                break;
            case 1: {
                const std::string bytes = patternOf(upTo(200) + count).substr(0, count);
                if (position + count > 200)
                    break;
                stream.write(bytes.data(), count);
                model.replace(position, count, bytes);
                position += count;
                break;
            }
            case 2: {
                const uint32 target = upTo(static_cast<uint32>(model.size()));
                CHECK(stream.seek(target - static_cast<int64>(position), Stream::SORIGIN_CURRENT) == target);
                position = target;
                break;
            }
            default:
                if (upTo(9) == 0)
                    stream.flush();
            }
            REQUIRE(stream.getPosition() == position);
        }
        stream.close();
        CHECK(below.getBytes() == model);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "targets and origins that mean nothing are left to the stream below to refuse") {
    Memory::MemoryStream below("below", 16);
    IO::BufferedStream stream(&below, 8);
    stream.write("abc", 3);
    const auto seekTo = [&stream](int64 offset) {
        checkThrown<Exceptions::ArgumentOutOfRangeException>([&] { stream.seek(offset, Stream::SORIGIN_CURRENT); },
                                                             "ArgumentOutOfRangeException",
                                                             "Offset leads out of range of the stream");
    };
    {
        const ExpectedAssertion negative("fullPos >= 0\nError Message: Seeked out of the range of the stream, invalid "
                                         "position-2",
                                         "common/io/bufferedstream");
        seekTo(-5);
    }
    seekTo(std::numeric_limits<int64>::max());
    const ExpectedAssertion unknown("\nError Message: Invalid SeekOrigin in origin specified",
                                    "common/memory/memorystream");
    CHECK(stream.seek(1, static_cast<Stream::SeekOrigin>(4)) == 3);
}

TEST_CASE_FIXTURE(LibraryTest, "a buffer of no bytes asserts and has one") {
    RecordingStream below("abc");
    const ExpectedAssertion expected("mBufferSize > 0\nError Message: Buffersize must be greater 0",
                                     "common/io/bufferedstream");
    IO::BufferedStream stream(&below, 0);
    CHECK(readText(stream, 2) == "ab");
    stream.write("X", 1);
    CHECK(below.takeCalls() == Texts{"read 1", "read 1", "write 1"});
}

TEST_CASE_FIXTURE(LibraryTest, "pending bytes that the stream below refuses are reported once and never come again") {
    RecordingStream below;
    IO::BufferedStream stream(&below, 8);
    stream.write("abc", 3);
    below.failAt(1);
    checkThrown<IO::IOException>([&] { stream.flush(); }, "IOException", "test failure");
    below.failNever();
    CHECK(stream.getPosition() == 0);
    stream.write("de", 2);
    stream.flush();
    CHECK(below.getBytes() == "de");
}

TEST_CASE_FIXTURE(LibraryTest, "bytes read ahead that cannot be given back are not lost") {
    OneWayStream below("0123456789");
    IO::BufferedStream stream(&below, 8);
    readText(stream, 3);
    for (int attempt = 0; attempt < 2; ++attempt)
        catchThrown<IO::IOException>([&] { stream.write("X", 1); });
    CHECK(readText(stream, 6) == "345678");
    stream.close();
    CHECK(below.isClosed());
}

TEST_CASE_FIXTURE(LibraryTest, "whatever fails while it closes, it is detached and tells the first failure") {
    RecordingStream below;
    RecordingListener listener(Debug::LOG_ERROR);
    SUBCASE("handing on") {
        IO::BufferedStream stream(&below, 8);
        stream.write("abc", 3);
        below.failAt(1);
        catchThrown<IO::IOException>([&] { stream.close(); });
        CHECK(below.takeCalls() == Texts{"write 3", "close"});
        CHECK(stream.isClosed());
        CHECK(listener.messages() == "Closing a stream has failed: test failure ");
    }
    SUBCASE("closing the stream below") {
        IO::BufferedStream stream(&below, 8);
        stream.write("abc", 3);
        below.failAt(2);
        catchThrown<IO::IOException>([&] { stream.close(); });
        CHECK(stream.isClosed());
        CHECK(below.getBytes() == "abc");
    }
    SUBCASE("releasing") {
        IO::BufferedStream stream(&below, 8);
        stream.write("abc", 3);
        below.failAt(1);
        catchThrown<IO::IOException>([&] { stream.releaseAndClose(); });
        CHECK(stream.isClosed());
        CHECK(below.takeCalls() == Texts{"write 3"});
    }
    SUBCASE("the destructor is quiet") {
        {
            IO::BufferedStream stream(&below, 8);
            stream.write("abc", 3);
            below.failAt(1);
        }
        CHECK(listener.mHeard.size() == 2);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a detached stream answers what it is and throws at everything else") {
    RecordingStream below("abc");
    IO::BufferedStream stream(&below, 8);
    CHECK(stream.canRead());
    CHECK(stream.getName() == "recording");
    stream.close();
    CHECK(below.takeCalls() == Texts{"close"});
    stream.close();
    stream.releaseAndClose();
    CHECK_FALSE(stream.canRead());
    CHECK_FALSE(stream.canWrite());
    CHECK_FALSE(stream.canSeek());
    CHECK(stream.isClosed());

    const std::pair<const char*, std::function<void()>> cases[] = {
        {"BufferedStream: Cannot read on closed streams.", [&] { readText(stream, 1); }},
        {"BufferedStream: Cannot write on closed streams.", [&] { stream.write("a", 1); }},
        {"BufferedStream: Cannot seek on closed streams.", [&] { stream.seek(0, Stream::SORIGIN_CURRENT); }},
        {"BufferedStream: Cannot flush on closed streams.", [&] { stream.flush(); }},
        {"BufferedStream: Try to get length of closed stream.", [&] { stream.getLength(); }},
        {"BufferedStream: Try to get position of closed stream.", [&] { stream.getPosition(); }},
        {"BufferedStream: Try to get name of closed stream.", [&] { stream.getName(); }},
    };
    for (const auto& [text, body] : cases)
        checkThrown<Exceptions::InvalidStateException>(body, "InvalidStateException", text);
    CHECK(below.takeCalls().empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a shared stream below lives as long as it is attached") {
    const IO::StreamPtr below(new (allocator()) RecordingStream("abc"));
    IO::BufferedStream stream(below, 8);
    CHECK(below.getReferenceCount() == 2);
    CHECK(readText(stream, 1) == "a");
    stream.releaseAndClose();
    CHECK(below.getReferenceCount() == 1);
    CHECK_FALSE(below->isClosed());
    CHECK(below->getPosition() == 1);
    { const IO::BufferedStream another(below, 8); }
    CHECK(below.getReferenceCount() == 1);
    CHECK(below->isClosed());
}

TEST_CASE_FIXTURE(LibraryTest, "a buffer for which there is no memory leaves the stream below alone") {
    RecordingStream below("abc");
    getMemory().failAfter(0);
    catchThrown<Memory::OutOfMemoryException>([&] { const IO::BufferedStream stream(&below, 1000); });
    getMemory().failNever();
    CHECK(below.takeCalls().empty());
}
