#include "common/io/packedstreamdictionary.h"

#include "common/memory/memoryexception.h"
#include "common/memory/memorystream.h"
#include "tests/support/archives.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/streams.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Tarq::Test::Archives;
using IO::PackedStreamDictionary;
using enum IO::Stream::SeekOrigin;

namespace {

/// About 2 KiB in all.
Files someFiles() {
    Files files;
    for (std::size_t at = 0; at < 4; ++at)
        files["folder" + std::to_string(at % 3) + "/file" + std::to_string(at)] =
            patternOf(2000).substr(at, at * at * 125);
    return files;
}

/// Opens damaged bytes, which is refused, or does no harm: what is in the archive can be read, and is still there when
/// something was added. Returns whether they open.
bool opensUnharmed(const std::string& bytes, int64 base = 0) {
    Memory::MemoryStream stream("damaged", 4096);
    stream.write(bytes.data(), bytes.size());
    stream.seek(base, SORIGIN_BEGIN);
    PackedStreamDictionary archive;
    const RecordingListener log;
    const AssertionRecorder assertions;
    if (!archive.open(&stream, false)) {
        REQUIRE((log.mHeard.size() == 1 && assertions.getSeen().size() <= 1));
        return false;
    }
    Files files = contentsOf(archive);
    REQUIRE(add(archive, "added", "added contents"));
    files["added"] = "added contents";
    archive.close();
    stream.seek(base, SORIGIN_BEGIN);
    REQUIRE(archive.open(&stream, false));
    REQUIRE(contentsOf(archive) == files);
    REQUIRE((log.mHeard.empty() && assertions.getSeen().empty()));
    return true;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an archive with one changed byte is refused, or does no harm") {
    const std::string bytes = archiveOf(someFiles(), "before");
    constexpr std::size_t base = 6;
    std::size_t dataEnd = base + 21;
    for (const auto& file : someFiles())
        dataEnd += file.second.size();
    REQUIRE((bytes.size() > 1500 && bytes.size() < 2500));
    int refused = 0;
    for (std::size_t at = base; at < bytes.size(); ++at) {
        const bool isData = at >= base + 21 && at < dataEnd;
        for (int change = 1; change < 256; change += isData ? 127 : 1) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(changed[at] ^ change);
            const bool isOpen = opensUnharmed(changed, base);
            refused += !isOpen;
            if (isData)
                REQUIRE(isOpen);
            if (at < base + 5)
                REQUIRE(!isOpen);
        }
    }
    CHECK(refused > 5 * 255);
}

TEST_CASE_FIXTURE(LibraryTest, "an archive whose end is missing is refused") {
    const std::string bytes = archiveOf(someFiles());
    for (std::size_t length = 1; length < bytes.size(); ++length)
        REQUIRE(!opensUnharmed(bytes.substr(0, length)));
    CHECK(opensUnharmed(bytes + "what follows"));
}

TEST_CASE_FIXTURE(LibraryTest, "when adding fails, close leaves an archive with everything else") {
    const std::string large = patternOf(150000);
    const Files before = {{"a", "contents"}, {"large", large}};
    int failures = 0;
    for (const bool isExclusive : {false, true}) {
        for (int call = 1, failuresBefore = -1; failuresBefore != failures; ++call) {
            failuresBefore = failures;
            RecordingStream stream(archiveOf(before)), other(large);
            PackedStreamDictionary archive(isExclusive, 0);
            REQUIRE(archive.open(&stream, false));
            REQUIRE(add(archive, "b", "added"));
            const std::unique_ptr<IO::Stream> section(archive.openStream("large"));
            Files expected = before;
            expected["b"] = "added";
            for (IO::Stream* const source : {section.get(), static_cast<IO::Stream*>(&other)}) {
                const std::string name = source == &other ? "other" : "copy";
                RecordingStream& failing = source == &other && call % 2 == 0 ? other : stream;
                failing.failAt(call);
                const std::string outcome = outcomeOf([&] { archive.addStream(source, String(name)); });
                failing.failNever();
                CHECK((outcome.empty() || outcome == "IOException: test failure"));
                CHECK(archive.existsStream(String(name)) == outcome.empty());
                failures += !outcome.empty();
                if (outcome.empty())
                    expected[name] = large;
            }
            archive.close();
            REQUIRE(contentsOf(stream.getBytes()) == expected);
        }
    }
    CHECK(failures > 20);
}

TEST_CASE_FIXTURE(LibraryTest, "an exclusive stream is read on where it was when adding fails") {
    struct FullStream : RecordingStream {
        using RecordingStream::RecordingStream;
        void write(const void*, uint64) override { throw new IO::IOException("full"); }
    };
    const std::string large = patternOf(70000);
    FullStream stream(archiveOf({{"large", large}}));
    RecordingStream other("other");
    for (const bool isSource : {false, true}) {
        PackedStreamDictionary archive(true, 0);
        stream.seek(0, SORIGIN_BEGIN);
        REQUIRE(archive.open(&stream, false));
        const std::unique_ptr<IO::Stream> section(archive.openStream("large"));
        CHECK(readText(*section, 3) == large.substr(0, 3));
        IO::Stream* const source = isSource ? section.get() : &other;
        CHECK(outcomeOf([&] { archive.addStream(source, "b"); }) == "IOException: full");
        CHECK(readText(*section, 3) == large.substr(isSource ? 65536 : 3, 3));
        CHECK(outcomeOf([&] { archive.close(); }) == "IOException: full");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "of a source that claims more bytes than it was asked for, no more are taken") {
    struct BoastingStream : RecordingStream {
        using RecordingStream::RecordingStream;
        uint64 read(void* dst, uint64 numBytes) override { return 2 * RecordingStream::read(dst, numBytes); }
    };
    BoastingStream source(patternOf(40000));
    RecordingStream stream;
    PackedStreamDictionary archive;
    REQUIRE(archive.open(&stream, true));
    CHECK(archive.addStream(&source, "a"));
    CHECK(readAll(archive, "a").substr(0, 40000) == source.getBytes());
    CHECK(readAll(archive, "a").size() == 65536);
}

TEST_CASE_FIXTURE(LibraryTest,
                  "what the underlying stream throws leaves a closed dictionary, and a destructor logs it") {
    const std::string bytes = archiveOf(someFiles());
    for (int call = 1; call < 4; ++call) {
        for (const bool createNew : {false, true}) {
            RecordingStream stream(bytes);
            PackedStreamDictionary archive;
            stream.failAt(call);
            const std::string outcome = outcomeOf([&] { archive.open(&stream, createNew); });
            CHECK(outcome == (createNew && call > 1 ? "" : "IOException: test failure"));
            CHECK(archive.isClosed() == !outcome.empty());
            stream.failNever();
        }
    }
    // The table is sought and written, then the positions.
    for (int call = 1; call <= 5; ++call) {
        const RecordingListener log;
        RecordingStream stream(bytes);
        {
            PackedStreamDictionary archive;
            for (const bool isDestroyed : {false, true}) {
                stream.seek(0, SORIGIN_BEGIN);
                REQUIRE(archive.open(&stream, true));
                stream.failAt(call);
                if (!isDestroyed) {
                    CHECK(outcomeOf([&] { archive.close(); }) == (call < 5 ? "IOException: test failure" : ""));
                    CHECK(archive.isClosed());
                    stream.failNever();
                }
            }
        }
        CHECK(log.messages() == (call < 5 ? "Closing a dictionary has failed: test failure " : ""));
    }
    const RecordingListener log;
    RecordingStream stream;
    PackedStreamDictionary archive;
    REQUIRE(archive.open(&stream, true));
    stream.close();
    CHECK((archive.isClosed() && !archive.canRead()));
    archive.close();
    CHECK(log.messages() == "The underlying stream was closed before its dictionary ");
}

TEST_CASE_FIXTURE(LibraryTest, "an archive that is short of memory loses none of it, and can be completed") {
    const std::string bytes = archiveOf(someFiles());
    // The allocator asserts too.
    const AssertionRecorder assertions;
    bool isDone = false;
    for (int granted = 0; !isDone; ++granted) {
        RecordingStream stream(bytes), source("added");
        const String name("added, by a name that is not short"), known("folder0/file3");
        {
            PackedStreamDictionary archive;
            isDone = true;
            getMemory().failAfter(granted);
            try {
                archive.open(&stream, false);
                archive.addStream(&source, name);
                const std::unique_ptr<IO::Stream> opened(archive.openStream(known));
                Container::Vector<String> names(allocator());
                archive.getStreamNames(names);
            } catch (Exceptions::Exception* exception) {
                const Exceptions::Holder holder(exception);
                CHECK(dynamic_cast<Memory::OutOfMemoryException*>(exception) != nullptr);
                isDone = false;
            }
            archive.close();
            getMemory().failNever();
        }
        Files files = contentsOf(stream.getBytes());
        const bool isAdded = files.erase(name.c_str()) != 0;
        REQUIRE(files == someFiles());
        REQUIRE((isAdded || !isDone));
        allocator()->freeUnusedMemory();
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an archive of many streams finds each of them, and none by another name") {
    Files files;
    for (int at = 0; at < 20000; ++at)
        files["name" + std::to_string(at * 7)] = std::to_string(at);
    const std::string bytes = archiveOf(files);
    files["name"] = "one more";
    int64 taken = 0;
    for (const bool isShort : {false, true}) {
        allocator()->freeUnusedMemory();
        RecordingStream stream(bytes);
        PackedStreamDictionary archive(true, 0);
        const int64 takenBefore = getMemory().getTaken();
        // The last block that opening takes is one that it can do without.
        if (isShort)
            getMemory().failAfter(taken - 1);
        REQUIRE(archive.open(&stream, false));
        getMemory().failNever();
        taken = getMemory().getTaken() - takenBefore;
        CHECK((getMemory().getRefused() != 0) == isShort);
        REQUIRE(add(archive, "name", "one more"));
        for (int at = 0; at < 140000; ++at) {
            const std::string name = "name" + std::to_string(at);
            if (archive.existsStream(String(name)) != files.contains(name))
                FAIL("wrong about ", name);
        }
        CHECK(contentsOf(archive) == files);
    }
}
