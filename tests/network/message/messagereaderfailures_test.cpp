#include "tests/network/message/messages.h"

using namespace Tarq::Test;

namespace {

/// The message of the bytes, in a stream that throws at that call, and delivers no more than three bytes in one.
template <class T>
std::string readingUpTo(int call, const std::string& hex, const T& value) {
    RecordingStream stream(bytesOf(hex));
    stream.limitReads(3);
    stream.failAt(call);
    return readingFrom(stream, value);
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a count that is larger than what follows takes no memory for what is not there") {
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        if constexpr (!HasFixedWireForm<T>) {
            inEachStream(bytesOf("ff ff ff ff 00 00 00 00 00 00 00 00"), [&](IO::Stream& stream) {
                // After the first time, the library has as much memory as small things need.
                for (const bool hasMore : {true, false}) {
                    T found = emptyOf<T>(allocator());
                    if (!hasMore)
                        getMemory().failAfter(0);
                    const std::string outcome = outcomeOf([&] { CHECK(!MessageReader(&stream, false).read(found)); });
                    getMemory().failNever();
                    CHECK(outcome.find("No Memory available") == std::string::npos);
                    CHECK(found.size() <= 8);
                }
            });
        }
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a stream that tells of another length than it has is read as far as both go") {
    for (const auto& [length, kept] : {std::pair(100u, 2u), std::pair(6u, 1u)}) {
        const auto found = [length = length, kept = kept](const char* hex, auto value, uint32 size) {
            TellingStream stream(bytesOf(hex), 5 + size * (length - 5));
            CHECK(readingFrom(stream, value).starts_with("failed 00 00 00 0" + std::to_string(kept)));
            CHECK(stream.getPosition() == 5 + size * kept);
        };
        found("0b 00 00 00 03 61 62", String("old"), 1);
        found("0c 00 00 00 03 00 61 00 62", WString(L"old"), 2);
        found("80 00 00 00 03 01 01", Vector<bool>(allocator()), 1);
        found("86 00 00 00 03 00 01 00 02", Vector<uint16>(allocator()), 2);
    }
    // More than a machine of 32 bits has addresses for.
    constexpr uint64 cLength = uint64{1} << 33;
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        if constexpr (!HasFixedWireForm<T>) {
            for (const char* const count : {"7f ff ff fc 00 00 00 01", "ff ff ff ff 00 00 00 01"}) {
                TellingStream stream(bytesOf(count), cLength);
                T found = emptyOf<T>(allocator());
                getMemory().failAfter(0);
                const std::string outcome = outcomeOf([&] { CHECK(!MessageReader(&stream, false).read(found)); });
                getMemory().failNever();
                CHECK(outcome != "");
                CHECK(found.size() == 0);
            }
        }
    });
    TellingStream talkative("abc", 5);
    RecordingStream target;
    CHECK(outcomeOf([&] { CHECK(!MessageReader(&talkative, true).readToStream(&target, 5)); }) ==
          "common/io/stream: bytesDone == bytesToRead\nError Message: Error reading bytes from own stream");
    CHECK(target.getBytes() == "abc");
}

TEST_CASE_FIXTURE(LibraryTest, "what came before a stream threw is kept, and nothing else") {
    const std::string thrown = cThrown + "test failure";
    CHECK(readingUpTo(6, "0b 00 00 00 05 61 62 63 64 65", String("old")) ==
          "failed 00 00 00 03 61 62 63 at 8, " + thrown);
    CHECK(readingUpTo(6, "0c 00 00 00 03 00 61 00 62 00 63", WString(L"old")) ==
          "failed 00 00 00 01 00 61 at 8, " + thrown);
    CHECK(readingUpTo(6, "80 00 00 00 05 01 00 01 01 01", Vector<bool>(allocator())) ==
          "failed 00 00 00 03 01 00 01 at 8, " + thrown);
    CHECK(readingUpTo(6, "86 00 00 00 03 00 01 00 02 00 03", Vector<uint16>(allocator(), {9})) ==
          "failed 00 00 00 01 00 01 at 8, " + thrown);
    CHECK(readingUpTo(7, "93 00 00 00 02 00 00 00 01 00 00 00 02 00 00 00 01 00 00 00 02",
                      Vector<Math::Vec2u>(allocator())) == "failed 00 00 00 00 at 11, " + thrown);
    CHECK(readingUpTo(9, "8b 00 00 00 02 00 00 00 01 61 00 00 00 01 62", Vector<String>(allocator())) ==
          "failed 00 00 00 01 00 00 00 01 61 at 13, " + thrown + "; " + cNoCount);
}

TEST_CASE_FIXTURE(LibraryTest, "what a stream throws and exhausted memory are assertions") {
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        RecordingStream stream(messageOf([&](MessageBuilder& builder) { builder.write(sampleOf<T>(allocator())); }));
        for (int call = 1;; ++call) {
            MessageReader reader(&stream, true);
            T found = emptyOf<T>(allocator());
            stream.failAt(call);
            bool isRead = false;
            const std::string outcome = outcomeOf([&] { isRead = reader.read(found); });
            stream.failNever();
            if (isRead) {
                CHECK(call > 2);
                break;
            }
            CHECK(outcome.starts_with(cThrown + "test failure"));
        }
    });
    const std::string large(100000, 'x'); // more than any memory that the library keeps for later
    MemoryStream stream("message", 65535);
    MessageBuilder(&stream, true).write(large);
    String text;
    Vector<uint8> bytes(allocator());
    MessageReader reader(&stream, true);
    getMemory().failAfter(0);
    const std::string outcome = outcomeOf([&] { CHECK(!reader.read(text)); });
    getMemory().failNever();
    CHECK(outcome == cThrown + "No Memory available");
    CHECK(text == "");
    stream.close();
    CHECK(outcomeOf([&] { CHECK(!reader.read(bytes)); }) ==
          cThrown + "Try to read from a closed MemoryStream; " + cNoType);
    CHECK(outcomeOf([&] { CHECK(reader.isFinished()); }) == cThrown + "Try to get position of a closed MemoryStream");
}
