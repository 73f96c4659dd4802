#include "tests/network/message/messages.h"

#include <functional>
#include <limits>

using namespace Tarq::Test;

namespace {

struct Written {
    std::string hex; ///< with the tag
    std::function<void(MessageBuilder&)> write;
};

/// The value is what `T` is made from: the table outlives the library, and holds no string of its.
template <class T, class Value>
Written written(const char* hex, Value value) {
    return {hex, [value](MessageBuilder& builder) { builder.write(T(value)); }};
}
template <class E, class... Values>
Written writtenList(const char* hex, Values... values) {
    return {hex, [values...](MessageBuilder& builder) {
                builder.write(Vector<E>(Library::getTempAlloc(), {E(values)...}));
            }};
}

/// The first is none where characters are wide enough for it, and the other one is half of one.
constexpr wchar_t cNoCharacters[] = {static_cast<wchar_t>(sizeof(wchar_t) > 2 ? 0x110000 : 0xFFFD), 0xD800, 0};

const Written cWritten[] = {
    written<bool>("00 01", true),
    written<bool>("00 00", false),
    written<int8>("01 fe", -2),
    written<int16>("02 ff fe", -2),
    written<int32>("03 ff ff ff fe", -2),
    written<int64>("04 ff ff ff ff ff ff ff fe", -2),
    written<uint8>("05 c8", 200),
    written<uint16>("06 12 34", 0x1234),
    written<uint32>("07 01 02 03 04", 0x01020304),
    written<uint64>("08 01 02 03 04 05 06 07 08", 0x0102030405060708),
    written<float>("09 3f c0 00 00", 1.5F),
    written<double>("0a c0 00 00 00 00 00 00 00", -2.0),
    written<String>("0b 00 00 00 02 61 62", "ab"),
    written<String>("0b 00 00 00 00", ""),
    written<WString>("0c 00 00 00 01 00 41", L"A"),
    written<WString>("0c 00 00 00 03 20 ac d8 3d de 00", L"\u20ac\U0001F600"),
    written<WString>("0c 00 00 00 02 ff fd d8 00", static_cast<const wchar_t*>(cNoCharacters)),
    written<Math::Vec2f>("10 3f 80 00 00 40 00 00 00", Math::Vec2f{1, 2}),
    written<Math::Vec2d>("11 3f f0 00 00 00 00 00 00 40 00 00 00 00 00 00 00", Math::Vec2d{1, 2}),
    written<Math::Vec2i>("12 ff ff ff ff 00 00 00 02", Math::Vec2i{-1, 2}),
    written<Math::Vec2u>("13 00 00 00 01 80 00 00 00", Math::Vec2u{1, 0x80000000}),
    written<Math::Vec3f>("14 3f 80 00 00 40 00 00 00 40 40 00 00", Math::Vec3f{1, 2, 3}),
    written<Math::Vec3i>("16 00 00 00 01 00 00 00 02 ff ff ff fd", Math::Vec3i{1, 2, -3}),
    written<StreamIDs>("05 8c", STREAM_TYPE_ARRAY_WSTRING),
    written<char>("01 61", 'a'),
    writtenList<bool>("80 00 00 00 03 01 00 01", true, false, true),
    writtenList<uint8>("85 00 00 00 02 01 ff", 1, 255),
    writtenList<uint16>("86 00 00 00 02 00 01 00 02", 1, 2),
    writtenList<uint16>("86 00 00 00 09 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12", 0x0102, 0x0304, 0x0506,
                        0x0708, 0x090a, 0x0b0c, 0x0d0e, 0x0f10, 0x1112),
    writtenList<uint32>("87 00 00 00 05 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14", 0x01020304,
                        0x05060708, 0x090a0b0c, 0x0d0e0f10, 0x11121314),
    writtenList<uint64>("88 00 00 00 03 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18",
                        0x0102030405060708, 0x090a0b0c0d0e0f10, 0x1112131415161718),
    writtenList<int32>("83 00 00 00 00"),
    writtenList<uint8>("85 00 00 00 00"),
    {"0b 00 00 00 00", [](MessageBuilder& builder) { builder.write(String::Text()); }},
    writtenList<double>("8a 00 00 00 01 3f f8 00 00 00 00 00 00", 1.5),
    writtenList<String>("8b 00 00 00 02 00 00 00 01 61 00 00 00 00", "a", ""),
    writtenList<WString>("8c 00 00 00 01 00 00 00 01 00 62", L"b"),
    writtenList<Math::Vec3d>("95 00 00 00 01 3f f0 00 00 00 00 00 00 40 04 00 00 00 00 00 00 c0 20 12 34 56 78 9a bc",
                             Math::Vec3d{1, 2.5, -0x8.091a2b3c4d5ep0}),
    writtenList<Math::Vec2u>("93 00 00 00 01 00 00 00 01 00 00 00 02", Math::Vec2u{1, 2}),
    {"0b 00 00 00 02 61 62", [](MessageBuilder& builder) { builder.write("ab"); }},
    {"0b 00 00 00 00", [](MessageBuilder& builder) { builder.write(static_cast<const char*>(nullptr)); }},
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "values are written big-endian, with and without their tag, whatever the stream") {
    for (const Written& each : cWritten) {
        CHECK(hexOf(messageOf(each.write)) == each.hex);
        CHECK(hexOf(messageOf(each.write, false)) == each.hex.substr(3));
        for (const uint32 blockSize : {1u, 7u, 65535u}) {
            MemoryStream stream("message", blockSize);
            MessageBuilder builder(&stream, true);
            each.write(builder);
            CHECK(stream.getPosition() == stream.getLength());
            stream.seek(0, IO::Stream::SORIGIN_BEGIN);
            CHECK(hexOf(readText(stream, 1000)) == each.hex);
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a value that is named by its tag is written as the typed value is") {
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        T value = sampleOf<T>(allocator());
        for (const bool useType : {true, false}) {
            const std::string typed = messageOf([&](MessageBuilder& builder) { builder.write(value); }, useType);
            const auto write = [&](MessageBuilder& builder) { builder.write(&value, getStreamID<T>()); };
            CHECK(messageOf(write, useType) == typed);
            const auto force = [&](MessageBuilder& builder) {
                builder.writeForceUseType(&value, getStreamID<T>(), useType);
                builder.write(true);
            };
            CHECK(messageOf(force, !useType) == typed + (useType ? "\x01" : std::string("\0\x01", 2)));
        }
    });
    for (const int number : {13, 15, 24, 127, 141, 143, 152, 255}) {
        const ExpectedAssertion expected("\nError Message: Tried to write not supported StreamIDs variable (" +
                                             std::to_string(number) + ")",
                                         "common/network/message/messagebuilder", 2);
        CHECK(messageOf([&](MessageBuilder& builder) {
                  builder.write(&builder, static_cast<StreamIDs>(number));
                  builder.writeForceUseType(&builder, static_cast<StreamIDs>(number), false);
              }) == "");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a container of numbers is one call of the stream, a large one is a call for a chunk") {
    for (const auto& [size, calls] : {std::pair(1000u, Texts{"write 5", "write 4000"}),
                                      std::pair(1025u, Texts{"write 5", "write 4096", "write 4"})}) {
        Vector<int32> values(allocator());
        for (uint32 at = 0; at < size; ++at)
            values.push_back(static_cast<int32>(at * 0x01010101));
        RecordingStream stream;
        MessageBuilder(&stream, true).write(values);
        CHECK(stream.takeCalls() == calls);
        Vector<int32> copy(allocator());
        CHECK(MessageReader(&stream, true).read(copy));
        CHECK(stream.takeCalls() == Texts{"seek 0 3", "read 1", "read 4", "read " + std::to_string(4 * size)});
        CHECK(copy == values);
    }
}

TEST_CASE_FIXTURE(LibraryTest,
                  "bytes of a stream are copied from its position, as a container of bytes or as they are") {
    struct Case {
        const char* name;
        uint64 numBytes;
        bool rawOnly;
        std::string tagged, untagged, outcome;
    };
    constexpr uint64 cMost = std::numeric_limits<uint32>::max();
    const std::string tooMany =
        "common/network/message/messagebuilder: numBytes < TARQ_MAX_UINT32\nError Message: Tried "
        "to write from a stream too many bytes: numBytes > TARQ_MAX_UINT32";
    const std::string tooFew =
        ": bytesAvailable >= numBytes\nError Message: Tried to read more bytes (9) out of source "
        "stream than left from pos (1) to end (5)";
    const std::string tooFewRaw = "common/io/stream" + tooFew +
                                  "; common/io/stream: bytesDone == bytesToWrite\nError "
                                  "Message: Error reading bytes from source stream";
    const Case cases[] = {
        {"some bytes", 3, false, "85 00 00 00 03 62 63 64", "00 00 00 03 62 63 64", ""},
        {"no bytes", 0, false, "85 00 00 00 00", "00 00 00 00", ""},
        {"raw bytes", 3, true, "62 63 64", "62 63 64", ""},
        {"too many bytes for a count", cMost, false, "", "", tooMany},
        {"as many raw bytes", cMost + 1, true, "", "", tooMany},
        {"more bytes than there are", 9, false, "85 00 00 00 04 62 63 64 65", "00 00 00 04 62 63 64 65",
         "common/network/message/messagebuilder" + tooFew},
        {"more raw bytes than there are", 9, true, "62 63 64 65", "62 63 64 65", tooFewRaw},
    };
    for (const Case& each : cases) {
        CAPTURE(each.name);
        for (const bool useType : {true, false}) {
            RecordingStream source("abcde");
            source.seek(1, IO::Stream::SORIGIN_BEGIN);
            std::string bytes;
            CHECK(outcomeOf([&] {
                      bytes = messageOf(
                          [&](MessageBuilder& builder) { builder.writeStream(&source, each.numBytes, each.rawOnly); },
                          useType);
                  }) == each.outcome);
            CHECK(hexOf(bytes) == (useType ? each.tagged : each.untagged));
        }
    }
    CHECK(outcomeOf([] { messageOf([](MessageBuilder& builder) { builder.writeStream(nullptr, 3, false); }); }) ==
          "ArgumentNullException: Stream: The other stream of a copy cannot be NULL. [src]");
    RecordingStream own("abc");
    CHECK(outcomeOf([&own] { MessageBuilder(&own, true).writeStream(&own, 3, false); }) ==
          "ArgumentException: Stream: A stream cannot be copied into itself. [src]");
    CHECK(own.getBytes() == "abc");
    TellingStream reticent("abcdef", 2);
    CHECK(outcomeOf([&reticent] {
              CHECK(hexOf(messageOf([&reticent](MessageBuilder& builder) {
                        builder.writeStream(&reticent, 6, false);
                    })) == "85 00 00 00 02 61 62");
          }) == "common/network/message/messagebuilder: bytesAvailable >= numBytes\nError Message: Tried to read more "
                "bytes (6) out of source stream than left from pos (0) to end (2)");
}

TEST_CASE_FIXTURE(LibraryTest, "a text that is longer than a string can be is not written") {
    const std::string_view text("text", std::size_t{String::max_size()} + 1);
    CHECK(outcomeOf([&text] { CHECK(messageOf([&text](MessageBuilder& builder) { builder.write(text); }) == ""); }) ==
          "common/network/message/messagebuilder: text.size() <= String::max_size()\nError Message: Tried to write "
          "a text that is too long for a string");
}

TEST_CASE_FIXTURE(LibraryTest, "a builder goes on at the stream's position, and what the stream throws passes on") {
    RecordingStream stream("abcdefgh");
    stream.seek(2, IO::Stream::SORIGIN_BEGIN);
    MessageBuilder builder(&stream, true);
    CHECK(builder.getStream() == &stream);
    builder.write(uint8{'x'});
    CHECK(stream.getBytes() == "ab\x05xefgh");
    for (const Written& each : cWritten) {
        stream.failAt(1);
        CHECK(outcomeOf([&] { each.write(builder); }) == "IOException: test failure");
        stream.failNever();
    }
}
