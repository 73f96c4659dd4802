#include "common/io/packedstreamdictionary.h"

#include "common/io/bufferedstream.h"
#include "common/io/sectionedstream.h"
#include "tests/support/archives.h"
#include "tests/support/hex.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/streams.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Test;
using IO::PackedStreamDictionary;
using enum IO::Stream::SeekOrigin;
using namespace Tarq::Test::Archives;

namespace {

/// What `body` asserts or throws, then what it logs.
template <class Body>
std::string outcomeAndLogOf(Body body) {
    const RecordingListener log;
    const std::string outcome = outcomeOf(body);
    for (const RecordingListener::Heard& heard : log.mHeard) {
        CHECK(heard.type == Debug::LOG_ERROR);
        CHECK(heard.file == "common/io/packedstreamdictionary");
    }
    return outcome + (outcome.empty() || log.mHeard.empty() ? "" : "; ") + log.messages();
}

/// Can only be read, or less.
struct LimitedStream : RecordingStream {
    using RecordingStream::RecordingStream;
    bool canRead() const override { return isReadable; }
    bool canWrite() const override { return false; }
    bool canSeek() const override { return isSeekable; }
    bool isReadable = true;
    bool isSeekable = true;
};

/// Bytes that are no archive where they begin at `base`, and why.
std::vector<std::pair<std::string, std::string>> refusedAt(uint64 base) {
    const std::string shortly = "common/io/packedstreamdictionary: success\nError Message: Cannot read from stream, "
                                "stream corrupted?; Stream ends inside of the header or the name table ";
    const std::string noTable = "Invalid table index position, stream corrupted or not closed properly! ";
    const std::string noData = "Invalid data end position, stream corrupted or not closed properly! ";
    const auto header = [base](uint64 table, uint64 dataEnd) { return headerOf(base + table, base + dataEnd); };
    const std::string data = header(31, 31) + patternOf(10);
    const auto entry = [base](uint64 start, uint64 end) { return entryOf("a", base + start, base + end); };
    const auto misplaced = [&](uint64 start, uint64 end) {
        return std::pair(data + number(1, 4) + entry(start, end),
                         "Stream 'a' cannot be from " + std::to_string(base + start) + " to " +
                             std::to_string(base + end) + ", stream corrupted? ");
    };
    return {
        {"\x12", "Stream does not contain a PackedStreamDictionary "},
        {"\x11", shortly},
        {'\x11' + number(258, 4), "Version mismatch for PackedStreamDictionary, expected: 1 found: 258 "},
        {header(31, 31).substr(0, 12), shortly},
        {headerOf(0, 0), noTable},
        {header(20, 31) + patternOf(30), noTable},
        {header(52, 31) + patternOf(30), noTable},
        {header(uint64{1} << 63, 31) + patternOf(30), noTable},
        {header(31, 31).substr(0, 20), shortly},
        {headerOf(0, 31).substr(0, 20), noTable},
        {headerOf(base + 31, 0) + patternOf(30), noData},
        {header(31, 20) + patternOf(30), noData},
        {header(31, 52) + patternOf(30), noData},
        {header(51, 31) + patternOf(30), shortly},
        {data + number(1, 3), shortly},
        {data + number(~uint32{0}, 4), shortly},
        {data + number(1, 4) + number(4097, 4) + patternOf(5000),
         "Stream name exceeds the maximum name length of the dictionary of 4096, stream corrupted? "},
        {data + number(1, 4) + number(4096, 4) + patternOf(4096 + 15), shortly},
        {data + number(2, 4) + entry(21, 31), shortly},
        {data + number(2, 4) + entry(21, 31) + entry(22, 31), "Two streams are named 'a', stream corrupted? "},
        misplaced(20, 31),
        misplaced(31, 30),
        misplaced(31, 57),
        misplaced(21, ~uint64{0} - base),
    };
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an archive is its header, the data as they were added and the table by name") {
    for (const std::string before : {"", "before"}) {
        RecordingStream stream(before);
        const uint64 base = stream.seek(0, SORIGIN_END);
        PackedStreamDictionary archive;
        CHECK(archive.open(&stream, !before.empty()));
        CHECK(stream.getBytes() == before + headerOf(0, 0));
        CHECK((archive.getName() == "recording" && archive.isEmpty() && archive.canRead() && !archive.canWrite()));
        CHECK(add(archive, "b", "01234"));
        CHECK(add(archive, "a", patternOf(10)));
        CHECK(!archive.isEmpty());
        archive.close();
        archive.close();
        CHECK((archive.isClosed() && archive.isEmpty() && archive.getName().empty() && !archive.canRead()));
        const std::string expected = before + headerOf(base + 36, base + 36) + "01234" + patternOf(10) + number(2, 4) +
                                     entryOf("a", base + 26, base + 36) + entryOf("b", base + 21, base + 26);
        CHECK(hexOf(stream.getBytes().data(), stream.getBytes().size()) == hexOf(expected.data(), expected.size()));

        stream.seek(static_cast<int64>(base), SORIGIN_BEGIN);
        CHECK(archive.open(&stream, false));
        CHECK(contentsOf(archive) == Files{{"a", patternOf(10)}, {"b", "01234"}});
        stream.takeCalls();
        archive.close();
        CHECK(stream.takeCalls().empty());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "streams that are handed out are read in turn, and written never") {
    const Files files = {{"a", patternOf(30000)}, {"b", "01234"}, {"folder/c", ""}};
    for (const int32 bufferSize : {8192, 0, -1}) {
        LimitedStream below(archiveOf(files));
        PackedStreamDictionary archive(false, bufferSize);
        CHECK(archive.open(&below, false));
        Container::Vector<String> names(allocator());
        names.push_back("there already");
        archive.getStreamNames(names);
        CHECK((names.size() == 4 && names[1] == "a" && names[2] == "b" && names[3] == "folder/c"));
        CHECK((archive.existsStream("a") && !archive.existsStream("A") && !archive.existsStream("")));
        CHECK(archive.openStream("c") == nullptr);
        const std::unique_ptr<IO::Stream> a(archive.openStream("a"));
        const std::unique_ptr<IO::Stream> b(archive.openStream("b"));
        CHECK((dynamic_cast<IO::BufferedStream*>(a.get()) != nullptr) == (bufferSize > 0));
        CHECK((dynamic_cast<IO::SectionedStream*>(a.get()) != nullptr) == (bufferSize <= 0));
        CHECK((a->getName() == "a" && b->getLength() == 5 && !b->canWrite()));
        archive.close();
        CHECK(readText(*a, 900) == files.at("a").substr(0, 900));
        CHECK(readText(*b, 3) == "012");
        a->seek(-100, SORIGIN_END);
        CHECK(readText(*a, 900) == files.at("a").substr(29900));
        CHECK(readText(*b, 3) == "34");
        CHECK(outcomeOf([&] {
                  a->write("x", 1);
                  a->flush();
              }).find("Write not supported in SectionedStream") != std::string::npos);
        CHECK(below.getBytes() == archiveOf(files));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what cannot be opened is refused with a text, and the dictionary stays closed") {
    RecordingStream good(archiveOf({{"a", "contents"}}));
    PackedStreamDictionary archive;
    for (const std::string before : {"", "before"}) {
        for (const auto& refused : refusedAt(before.size())) {
            RecordingStream stream(before + refused.first);
            stream.seek(static_cast<int64>(before.size()), SORIGIN_BEGIN);
            good.seek(0, SORIGIN_BEGIN);
            REQUIRE(archive.open(&good, false));
            const RecordingListener log;
            CHECK(outcomeAndLogOf([&] { CHECK(!archive.open(&stream, false)); }) == refused.second);
            CHECK(log.mHeard.back().function == "Tarq::Common::IO::PackedStreamDictionary::open");
            CHECK((archive.isClosed() && archive.isEmpty() && archive.getName().empty()));
            CHECK(stream.getBytes() == before + refused.first);
        }
    }
    LimitedStream limited;
    const auto open = [&archive, &limited] { CHECK(!archive.open(&limited, false)); };
    CHECK(outcomeAndLogOf(open) == "Underlying stream for packed dictionary must be writable if createNew enabled ");
    limited.isSeekable = false;
    CHECK(outcomeAndLogOf(open) == "Underlying stream for packed dictionary must be seekable ");
    limited.isReadable = false;
    CHECK(outcomeAndLogOf(open) == "Underlying stream for packed dictionary must be readable ");
    CHECK(outcomeAndLogOf([&] { CHECK(!archive.open(nullptr, true)); }) ==
          "common/io/packedstreamdictionary: underlyingStream\nError Message: Stream cannot be NULL");
}

TEST_CASE_FIXTURE(LibraryTest,
                  "an archive whose table is in another order, or points anywhere, opens and can be added to") {
    // Two streams share bytes, one of them with the table; the header claims that there are no data.
    const std::string table = number(3, 4) + entryOf("c", 31, 36) + entryOf("a", 21, 26) + entryOf("b", 24, 31);
    RecordingStream stream(headerOf(31, 21) + "0123456789" + table);
    PackedStreamDictionary archive;
    REQUIRE(archive.open(&stream, false));
    Files files = {{"a", "01234"}, {"b", "3456789"}, {"c", table.substr(0, 5)}};
    CHECK(contentsOf(archive) == files);
    CHECK(add(archive, "d", patternOf(100)));
    archive.close();
    files["d"] = patternOf(100);
    CHECK(contentsOf(stream.getBytes()) == files);
}

TEST_CASE_FIXTURE(LibraryTest, "what cannot be added is refused with a text and changes nothing") {
    const std::string bytes = archiveOf({{"a", "contents"}});
    const std::string notWritable = "Method addStream requires that the underlying stream is writable ";
    const String longest(4096, 'x');
    RecordingStream stream(bytes), source("source");
    LimitedStream limited(bytes);
    PackedStreamDictionary archive;
    const auto added = [&](IO::Stream* from, const String& name) {
        const RecordingListener log;
        const std::string outcome = outcomeAndLogOf([&] { CHECK(!archive.addStream(from, name)); });
        for (const auto& heard : log.mHeard)
            CHECK(heard.function == "Tarq::Common::IO::PackedStreamDictionary::addStream");
        return outcome;
    };
    CHECK(added(&source, "b") == notWritable);
    REQUIRE(archive.open(&limited, false));
    CHECK(added(&source, "b") == notWritable);
    REQUIRE(archive.open(&stream, false));
    CHECK(added(&source, longest + "x") == "Stream name exceeds the maximum name length of the dictionary of 4096 ");
    CHECK(added(&source, "a") == "Dictionary contains already a stream with name: a ");
    CHECK(added(&stream, "b") == "The underlying stream of a dictionary cannot be added to it ");
    CHECK(added(nullptr, "b") == "common/io/packedstreamdictionary: source\nError Message: Stream cannot be NULL");
    CHECK(outcomeAndLogOf([&] { CHECK(!archive.removeStream("a")); }) ==
          "common/io/packedstreamdictionary: \nError Message: PackedStreamDictionary does not support removeStream");
    CHECK(source.takeCalls().empty());
    archive.close();
    CHECK(stream.getBytes() == bytes);

    stream.seek(0, SORIGIN_BEGIN);
    REQUIRE(archive.open(&stream, false));
    CHECK(archive.addStream(&source, longest));
    CHECK(added(&source, longest).starts_with("Dictionary contains already"));
    archive.close();
    CHECK(contentsOf(stream.getBytes()) == Files{{"a", "contents"}, {longest.c_str(), "source"}});
}

TEST_CASE_FIXTURE(LibraryTest, "a stream of the archive is added to it as a whole, however it is read") {
    const std::string large = patternOf(200001);
    for (const auto& [isExclusive, bufferSize] : {std::pair(true, 0), {true, 1000}, {false, 0}, {false, 8192}}) {
        RecordingStream stream(archiveOf({{"a", "before"}, {"large", large}}));
        PackedStreamDictionary archive(isExclusive, bufferSize);
        REQUIRE(archive.open(&stream, false));
        const std::unique_ptr<IO::Stream> source(archive.openStream("large"));
        CHECK(archive.addStream(source.get(), "copy"));
        CHECK(readText(*source, 1).empty());
        CHECK(archive.addStream(source.get(), "another"));
        archive.close();
        CHECK(contentsOf(stream.getBytes()) ==
              Files{{"a", "before"}, {"large", large}, {"copy", large}, {"another", large}});
    }
}

TEST_CASE_FIXTURE(LibraryTest, "clear leaves an archive that is empty, and goes on with the first byte") {
    for (const std::string before : {"", "before"}) {
        RecordingStream stream(archiveOf({{"a", "contents"}}, before));
        const uint64 base = stream.seek(static_cast<int64>(before.size()), SORIGIN_BEGIN);
        PackedStreamDictionary archive;
        archive.clear();
        REQUIRE(archive.open(&stream, false));
        archive.clear();
        CHECK((archive.isEmpty() && !archive.existsStream("a") && archive.openStream("a") == nullptr));
        CHECK(add(archive, "a", "new"));
        archive.close();
        CHECK(stream.getBytes().starts_with(before + headerOf(base + 24, base + 24) + "new"));
        CHECK(contentsOf(stream.getBytes(), base) == Files{{"a", "new"}});
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a stream whose archive is open is opened anew where the caller has put it") {
    for (const bool createNew : {false, true}) {
        RecordingStream stream;
        PackedStreamDictionary archive;
        REQUIRE(archive.open(&stream, true));
        CHECK(add(archive, "a", "contents"));
        stream.seek(0, SORIGIN_BEGIN);
        CHECK(archive.open(&stream, createNew));
        CHECK(archive.existsStream("a") == !createNew);
        CHECK(add(archive, "b", "new"));
        archive.close();
        CHECK(contentsOf(stream.getBytes()) ==
              (createNew ? Files{{"b", "new"}} : Files{{"a", "contents"}, {"b", "new"}}));
    }
}
