#include "tests/parser/vrml2/scenes.h"
#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include <charconv>
#include <cstring>
#include <random>
#include <utility>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// A reader of a text, without a header.
class TextReader : public VRML2::TokenReader {
public:
    explicit TextReader(std::string text) : TokenReader(Library::getTempAlloc()), mStream(std::move(text)) {
        beginReading(mStream);
    }
    using TokenReader::beginReading;
    std::string place() const { return std::to_string(getLine()) + ":" + std::to_string(getColumn()); }

    RecordingStream mStream;
};

/// Says once that it has read more than it was asked for, and then that it is at its end.
class BoastingStream : public RecordingStream {
public:
    uint64 read(void* dst, uint64 numBytes) override {
        if (std::exchange(mHasRead, true))
            return 0;
        std::memset(dst, ' ', static_cast<std::size_t>(numBytes));
        return numBytes + 100;
    }

private:
    bool mHasRead = false;
};

const std::string cNoNumber = "number wanted but not found while parsing!";

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "numbers are read as far as they are any") {
    const std::pair<std::string, std::string> integers[] = {
        {"0", "0"},
        {"-12", "-12"},
        {"007", "7"},
        {"1-2", "1"},
        {"1-", "1"},
        {"2147483647", "2147483647"},
        {"-2147483648", "-2147483648"},
        {"2147483648", "2147483647"},
        {"-99999999999999999999999", "-2147483648"},
        {"00000000000000000000000000000005", "5"},
        {"--1", "1:3 " + cNoNumber},
        {"-", "1:1 " + cNoNumber},
        {"+1", "1:1 " + cNoNumber},
        {".", "1:1 " + cNoNumber},
    };
    for (const auto& each : integers) {
        CAPTURE(each.first);
        TextReader reader(each.first + " ");
        CHECK(failureOr([&] { return std::to_string(reader.readInt32()); }) == each.second);
    }
    const std::pair<std::string, std::string> floats[] = {
        {"0", "0"},
        {"-0", "-0"},
        {"-1.5", "-1.5"},
        {".25", "0.25"},
        {"3.", "3"},
        {"1.2.3", "1.20000005"},
        {"1e3", "1000"},
        {"1.5e-2", "0.0149999997"},
        {"1e", "1"},
        {"1e-", "1"},
        {"1-2", "1"},
        {"1e99", "inf"},
        {"-1e-99", "-0"},
        {"0.1000000000000000000000000000000000001", "0.100000001"},
        {"--1", "1:3 " + cNoNumber},
        {"-", "1:1 " + cNoNumber},
        {".", "1:1 " + cNoNumber},
        {"e5", "1:2 " + cNoNumber},
        {"inf", "1:1 " + cNoNumber},
    };
    for (const auto& each : floats) {
        CAPTURE(each.first);
        TextReader reader(each.first + " ");
        CHECK(failureOr([&] { return shown(reader.readFloat()); }) == each.second);
    }
    TextReader capital("1E5 0x10 ");
    CHECK(capital.readFloat() == 1);
    CHECK(capital.readName() == "E5");
    CHECK(capital.readInt32() == 0);
    CHECK(capital.readName() == "x10");
}

TEST_CASE_FIXTURE(LibraryTest, "lists end with their bracket, and elements are apart") {
    const std::pair<std::string, std::string> cases[] = {
        {"[1 2,3]", "1 2 3 "},   {"[1 2]3", "1 2 "},
        {"4 5", "4 "},           {"[ , ]", ""},
        {"[1#\n2#]\n]", "1 2 "}, {"[1.5 2]", "1:3 elements in a multi field must be seperated by whitespace"},
    };
    for (const auto& each : cases) {
        CAPTURE(each.first);
        TextReader reader(each.first + " ");
        CHECK(failureOr([&] {
                  Container::Vector<int32> numbers(allocator());
                  reader.readInt32s(numbers);
                  std::string all;
                  for (const int32 number : numbers)
                      all += std::to_string(number) + " ";
                  return all;
              }) == each.second);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a reader goes back by one byte, over lines and buffers") {
    TextReader reader("a\nb" + std::string(VRML2::TokenReader::cReadBufferSize - 3, ' ') + "c");
    const std::string start = "common/parser/vrml2/tokenreader";
    {
        const ExpectedAssertion atStart("offset() != 0\nError Message: no previous character, start of file", start);
        reader.gotoPrevChar();
    }
    CHECK(reader.readNextChar() == 'a');
    CHECK(reader.readNextChar() == '\n');
    CHECK(reader.place() == "2:0");
    reader.gotoPrevChar();
    CHECK(reader.place() == "1:1");
    {
        const ExpectedAssertion twice("offset() != mSteppedBackTo\nError Message: cannot go to previous character - "
                                      "uses gotoPrevChar twice without readNextChar in between ?",
                                      start);
        reader.gotoPrevChar();
    }
    CHECK(reader.readNextChar() == '\n');
    CHECK(reader.readNextChar() == 'b');
    reader.skipWhiteSpace();
    reader.gotoPrevChar();
    CHECK(reader.readNextChar() == ' ');
    CHECK(reader.readNextChar() == 'c');
    CHECK(reader.place() == "2:65534");
    CHECK(reader.mStream.takeCalls() == Texts{"read 65535", "read 65535"});
}

TEST_CASE_FIXTURE(LibraryTest, "the end of a stream is read once, and no more than the buffer takes") {
    for (const char* const text : {"a ", "a #"}) {
        CAPTURE(text);
        TextReader reader(text);
        CHECK(reader.readName() == "a");
        CHECK(failureOr([&] { return shown(reader.readFloat()); }).ends_with("corrupt VRML2 file"));
        CHECK(reader.mStream.takeCalls() == Texts{"read 65535", "read 65535"});
    }
    BoastingStream boasting;
    TextReader reader("");
    reader.beginReading(boasting);
    CHECK(!reader.skipToToken());
    CHECK(reader.place() == "1:65535");
}

TEST_CASE_FIXTURE(LibraryTest, "words are the same wherever a buffer ends in them") {
    const std::string words = "Shape{geometry IndexedFaceSet{coord DEF name Coordinate{point[-1.25e1 2 3,4 .5 6 7 8 "
                              "9]}#comment\r\n coordIndex[0 1,2 -1]ccw FALSE}}Inline{url\"a\\\"\\\\b\"}\n ]";
    MemoryFileSystem files;
    files.add("a\"\\b", cHeader);
    VRML2::Parser parser;
    const std::size_t size = VRML2::TokenReader::cReadBufferSize;
    for (std::size_t before = 0; before <= words.size(); ++before) {
        CAPTURE(before);
        const std::string padding(size - cHeader.size() - before, before % 2 != 0 ? ' ' : '\n');
        const std::string good = words.substr(0, words.size() - 1);
        files.add("main.wrl", cHeader + padding + good);
        REQUIRE(outcomeOf(files, parser) ==
                "Group(Shape[IndexedFaceSet -12.5 2 3 4 0.5 6 7 8 9 cw 0 1 2 -1] Inline(Group()))");
        // The place behind the last byte tells that none was lost or counted twice.
        files.add("main.wrl", cHeader + padding + words);
        const std::size_t lines = before % 2 != 0 ? 0 : padding.size();
        REQUIRE(outcomeOf(files, parser) == std::to_string(4 + lines) + ":2 invalid character ']' in name");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a million points are read as they were written") {
    std::mt19937 random(9);
    std::string text = "[";
    Container::Vector<Math::Vec3f> points(allocator(), 1'000'000);
    for (Math::Vec3f& point : points) {
        for (float* const number : {&point.mX, &point.mY, &point.mZ}) {
            char digits[32];
            const auto value =
                static_cast<float>(static_cast<int32>(random())) / static_cast<float>(1 + random() % 10000);
            const char* const end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
            text.append(digits, static_cast<std::size_t>(end - digits)) += ' ';
            *number = value;
        }
    }
    for (char& character : text)
        character = character == '+' ? '0' : character;
    TextReader reader(text + "]");
    Container::Vector<Math::Vec3f> read(allocator());
    reader.readVec3fs(read);
    CHECK((read == points));
}

TEST_CASE_FIXTURE(LibraryTest, "every beginning of a file is a scene or a failure, and leaves nothing") {
    const std::string scene =
        cHeader +
        "DEF g Transform { rotation 0 0 1 1.5 children [ Shape { geometry DEF f IndexedFaceSet { coord "
        "Coordinate { point [ 0 0 0, 1 0 0, 1 1 0 ] } coordIndex [ 0 1 2 -1 ] } } # end\n Light { a \"}\" } ] "
        "}\nInline { url [ \"b.wrl\" \"b.wrl\" ] } Switch { choice [ USE g ] whichChoice 0 } USE g\n";
    MemoryFileSystem files;
    files.add("b.wrl", cHeader + "Shape { geometry Box { } }");
    VRML2::Parser parser;
    parser.setSkipUnknownNodes(true);
    int scenes = 0;
    for (std::size_t length = 0; length <= scene.size(); ++length) {
        CAPTURE(length);
        files.add("main.wrl", scene.substr(0, length));
        const std::string outcome = outcomeOf(files, parser);
        scenes += outcome.starts_with("Group(") ? 1 : 0;
        REQUIRE((outcome.starts_with("Group(") || (outcome[0] >= '1' && outcome[0] <= '9')));
    }
    CHECK(scenes >= 4);
}
