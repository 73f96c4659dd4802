#include "tests/network/message/messages.h"

using namespace Tarq::Test;

namespace {

template <class T>
void checkValue(const std::string& hex, const T& value) {
    inEachStream(bytesOf(hex), [&](IO::Stream& stream) {
        T found = emptyOf<T>(Library::getTempAlloc());
        CHECK(MessageReader(&stream, true).read(found));
        CHECK(found == value);
    });
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "every value comes back, whatever the stream and the way of reading") {
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        T value = sampleOf<T>(allocator());
        for (const bool useType : {true, false}) {
            const auto write = [&](MessageBuilder& builder) {
                builder.write(value);
                builder.write(emptyOf<T>(allocator()));
            };
            inEachStream(messageOf(write, useType), [&](IO::Stream& stream) {
                for (int way = useType ? 0 : 1; way < 4; ++way) {
                    MessageReader reader(&stream, way == 3 ? !useType : useType);
                    CHECK(reader.getStream() == &stream);
                    const auto read = [&](T& target) {
                        switch (way) {
                        case 0:
                            return reader.read(static_cast<void*>(&target));
                        case 1:
                            return reader.read(target);
                        case 2:
                            return reader.read(&target, getStreamID<T>());
                        default:
                            return reader.readForceUseType(&target, getStreamID<T>(), useType);
                        }
                    };
                    T found = emptyOf<T>(allocator());
                    CHECK(read(found));
                    CHECK(found == value);
                    CHECK(!reader.isFinished());
                    CHECK(read(found));
                    CHECK(found == emptyOf<T>(allocator()));
                    CHECK(reader.isFinished());
                }
            });
        }
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a value that is cut off anywhere is not read, and leaves the stream at its end") {
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        const T value = sampleOf<T>(allocator());
        const std::string whole = messageOf([&](MessageBuilder& builder) { builder.write(value); });
        for (std::size_t length = 0; length < whole.size(); ++length) {
            inEachStream(whole.substr(0, length), [&](IO::Stream& stream) {
                T found = emptyOf<T>(allocator());
                const std::string outcome = outcomeOf([&] { CHECK(!MessageReader(&stream, true).read(found)); });
                CHECK(stream.getPosition() == length);
                if (length == 0)
                    CHECK(outcome == cNoType);
                else if constexpr (HasFixedWireForm<T>)
                    CHECK((outcome == "" && found == emptyOf<T>(allocator())));
                else if (length < 5)
                    CHECK(outcome == cNoCount);
            });
        }
    });
}

TEST_CASE_FIXTURE(LibraryTest, "what comes before a failure is kept, and every failure is reported as it always was") {
    const std::string text = "common/network/message/messagereader: readWithEndian(cBuffer)\nError Message: Couldn't ";
    const String string("old");
    const WString wide(L"old");
    CHECK(readingOf("0b 00 00 00 05 61 62", string) ==
          "failed 00 00 00 02 61 62 at 7, " + text + "read one BChar after 2 of needed 5");
    CHECK(readingOf("0b ff ff ff ff", string) ==
          "failed 00 00 00 00 at 5, " + text + "read one BChar after 0 of needed 4294967295");
    CHECK(readingOf("0c 00 00 00 03 00 61 d8", wide) ==
          "failed 00 00 00 01 00 61 at 8, " + text + "read one WChar after 1 of needed 3");
    CHECK(readingOf("0c ff ff ff ff 00 61", wide) ==
          "failed 00 00 00 01 00 61 at 7, " + text + "read one WChar after 1 of needed 4294967295");
    CHECK(readingOf("0b 00 00", string) == "failed 00 00 00 03 6f 6c 64 at 3, " + cNoCount);
    const Vector<String> strings(allocator(), {"old"});
    CHECK(readingOf("8b 00 00 00 02 00 00 00 01 61 00 00 00 02 62", strings) ==
          "failed 00 00 00 01 00 00 00 01 61 at 15, " + text + "read one BChar after 1 of needed 2");
    CHECK(readingOf("8b 00 00 00 02 00 00 00 01 61 00 00 00", strings) ==
          "failed 00 00 00 01 00 00 00 01 61 at 13, " + cNoCount);
    // There cannot be as many: none is kept.
    CHECK(readingOf("8b 00 00 00 03 00 00 00 01 61 00 00 00 02 62", strings) ==
          "failed 00 00 00 00 at 15, " + text + "read one BChar after 1 of needed 2");
    CHECK(readingOf("8c 00 00 00 02 00 00 00 00", Vector<WString>(allocator(), {L"old"})) ==
          "failed 00 00 00 00 at 9, " + cNoCount);
    CHECK(readingOf("86 00 00 00 03 00 01 00 02 00", Vector<uint16>(allocator(), {9})) ==
          "failed 00 00 00 02 00 01 00 02 at 10");
    CHECK(readingOf("80 00 00 00 03 01 07", Vector<bool>(allocator())) == "failed 00 00 00 02 01 01 at 7");
    CHECK(readingOf("93 00 00 00 01 00 00 00 01 00 00 00", Vector<Math::Vec2u>(allocator())) ==
          "failed 00 00 00 00 at 12");
    CHECK(readingOf("00 07", false) == "read 01 at 2");
    // Numbers that a floating-point register would change.
    CHECK(readingOf("09 7f a0 00 01", 0.0F) == "read 7f a0 00 01 at 5");
    CHECK(readingOf("0a ff f4 00 00 00 00 00 01", 0.0) == "read ff f4 00 00 00 00 00 01 at 9");
    CHECK(readingOf("90 00 00 00 01 7f a0 00 01 7f a0 00 02", Vector<Math::Vec2f>(allocator())) ==
          "read 00 00 00 01 7f a0 00 01 7f a0 00 02 at 13");
    CHECK(readingOf("05 f0", STREAM_TYPE_BOOL) == "read f0 at 2");
}

TEST_CASE_FIXTURE(LibraryTest, "long runs of numbers and wide characters of every kind are read as what they are") {
    checkValue("86 00 00 00 09 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12",
               Vector<uint16>(allocator(), {0x0102, 0x0304, 0x0506, 0x0708, 0x090a, 0x0b0c, 0x0d0e, 0x0f10, 0x1112}));
    checkValue("87 00 00 00 05 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14",
               Vector<uint32>(allocator(), {0x01020304, 0x05060708, 0x090a0b0c, 0x0d0e0f10, 0x11121314}));
    checkValue("88 00 00 00 03 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18",
               Vector<uint64>(allocator(), {0x0102030405060708, 0x090a0b0c0d0e0f10, 0x1112131415161718}));
    checkValue("95 00 00 00 01 3f f0 00 00 00 00 00 00 40 04 00 00 00 00 00 00 c0 20 12 34 56 78 9a bc",
               Vector<Math::Vec3d>(allocator(), {{1, 2.5, -0x8.091a2b3c4d5ep0}}));
    checkValue("0c 00 00 00 03 20 ac d8 3d de 00", WString(L"\u20ac\U0001F600"));
    // Halves of characters, behind one that looks like the first half but for what is above its 16 bits.
    const wchar_t halves[] = {0xDE00, 0xD83D, 0xD83D, 0};
    checkValue("0c 00 00 00 03 de 00 d8 3d d8 3d", WString(halves));
    checkValue("0c 00 00 00 03 d8 36 dc 3d de 00", WString(L"\U0001D83D") + static_cast<wchar_t>(0xDE00));
    // The pair lies across two pieces.
    WString text(L"a");
    for (int at = 0; at < 5000; ++at)
        text += L"\U0001F600";
    RecordingStream stream(messageOf([&text](MessageBuilder& builder) { builder.write(text); }));
    WString found;
    CHECK(MessageReader(&stream, true).read(found));
    CHECK(found == text);
}

TEST_CASE_FIXTURE(LibraryTest, "another tag than the expected one is reported by name or number, and consumed") {
    const auto wrongType = [](const char* expected, const char* found) {
        return cReader + "MessageReader verification found wrong type: expected(" + expected + ") found(" + found + ")";
    };
    CHECK(readingOf("03 00 00 00 01", uint32{9}) ==
          "failed 00 00 00 09 at 1, " + wrongType("STREAM_TYPE_UINT32", "STREAM_TYPE_INT32"));
    CHECK(readingOf("8c 00", uint32{9}) ==
          "failed 00 00 00 09 at 1, " + wrongType("STREAM_TYPE_UINT32", "STREAM_TYPE_ARRAY_WSTRING"));
    CHECK(readingOf("0d 00 00 00 00 00 00 00", String("old")) ==
          "failed 00 00 00 03 6f 6c 64 at 1, " + wrongType("STREAM_TYPE_BSTRING", "13"));
    CHECK(readingOf("03 00 00 00 00", Vector<int32>(allocator())) ==
          "failed 00 00 00 00 at 1, " + wrongType("STREAM_TYPE_ARRAY_INT32", "STREAM_TYPE_INT32"));
    inEachStream(bytesOf("c8 00"), [](IO::Stream& stream) {
        uint32 value = 9;
        CHECK(outcomeOf([&] { CHECK(!MessageReader(&stream, true).read(&value)); }) ==
              cReader + "Tried to read not supported StreamIDs variable (200)");
        CHECK(outcomeOf([&] { CHECK(!MessageReader(&stream, false).read(&value)); }) ==
              cReader + "Read void* only supported if useType enabled");
        CHECK(outcomeOf([&] { CHECK(!MessageReader(&stream, true).read(&value, static_cast<StreamIDs>(24))); }) ==
              cReader + "Tried to read not supported StreamIDs variable (24)");
        CHECK(stream.getPosition() == 0);
    });
    RecordingStream empty;
    CHECK(outcomeOf([&] { CHECK(!MessageReader(&empty, true).read(&empty)); }) == cNoType);
}

TEST_CASE_FIXTURE(LibraryTest, "bytes are copied to the position of another stream, all or none") {
    const std::string bytes = bytesOf("85 00 00 00 03 61 62 63 64 65");
    const std::string tooMany = cReader + "Tried to copy more data (3) from stream to another stream than is available "
                                          "from current position (8) to end (10)";
    inEachStream(bytes, [&](IO::Stream& stream) {
        RecordingStream target("....");
        target.seek(1, IO::Stream::SORIGIN_BEGIN);
        MessageReader reader(&stream, true);
        CHECK(reader.readStream(&target));
        CHECK(target.getBytes() == ".abc");
        CHECK(outcomeOf([&] { CHECK(!reader.readToStream(&target, 3)); }) == tooMany);
        CHECK(stream.getPosition() == 8);
        CHECK(reader.readToStream(&target, 2));
        CHECK(reader.readToStream(&target, 0));
        CHECK(target.getBytes() == ".abcde");
        CHECK(reader.isFinished());
        CHECK(outcomeOf([&] { CHECK(!reader.readStream(&target)); }) == cNoType);

        MessageReader untyped(&stream, false);
        CHECK(outcomeOf([&] { CHECK(!untyped.readStream(&target)); }) ==
              cReader + "Tried to copy more data (2231369728) from stream to another stream than is available from "
                        "current position (4) to end (10)");
        target.failAt(1);
        CHECK(outcomeOf([&] { CHECK(!untyped.readToStream(&target, 2)); }) == cThrown + "test failure");
    });
}
