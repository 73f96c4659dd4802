#include "tests/serialize/storeditems.h"

#include "common/memory/memoryexception.h"
#include "common/memory/memorystream.h"
#include "common/serialize/serializeexception.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest,
                  "every type of item has its bytes in both orders, and a call of the stream for each part") {
    const std::string parts[][4] = {
        {"12 00 00000003 00000000000000", "00000003", "00000000", "00000001 0004 6e616d65 00000000"},
        {"12 01 03000000", "00000000000000 03000000", "00000000", "01000000 0400 6e616d65 00000000"}};
    for (uint32 at = 0; at < 2 * items().size(); ++at) {
        CAPTURE(at);
        const uint32 type = at / 2 + 1;
        const auto order = static_cast<Endian::Endiness>(at % 2);
        const Item& item = items()[at / 2];
        const auto& [start, features, index, table] = parts[order];
        const std::string stored = static_cast<char>(type) + bytesOf(index + item.payload[order]);
        const std::string all = bytesOf(start) + static_cast<char>(18 + 2 * stored.size()) + bytesOf(features) +
                                stored + stored + bytesOf(table);
        RecordingStream stream;
        BinarySerializeStorage storage(Storage::SMODE_OUTPUT, order);
        REQUIRE(storage.open(&stream));
        stream.takeCalls();
        item.write(storage);
        item.write(storage);
        CHECK(stream.takeCalls() == Texts(2, "write " + std::to_string(stored.size())));
        storage.close();
        CHECK(hexOf(stream.getBytes().data(), stream.getBytes().size()) == hexOf(all.data(), all.size()));

        const RecordingListener log;
        std::string bytes = stream.getBytes();
        if (order == Endian::ENDIAN_BIG && type % 2 == 0)
            bytes[1] = 2;
        Input in(bytes);
        for (const auto& heard : log.mHeard)
            CHECK(heard.type == Debug::LOG_WARNING);
        CHECK(log.messages() == (order == Endian::ENDIAN_LITTLE
                                     ? ""
                                     : "PERFORMANCE WARNING: Stream stored has not the same endiness as the current "
                                       "system, byte swapping enabled ! "));
        for (uint32 wanted = 1; wanted <= items().size(); ++wanted) {
            const char* name = "";
            bool cameBack = false;
            in.seek(18, IO::Stream::SORIGIN_BEGIN);
            in.takeCalls();
            const std::string outcome = outcomeOf([&] { cameBack = items()[wanted - 1].read(in.storage, name); });
            // Behind the other types, and behind a string's head, there is a second call.
            CHECK(in.takeCalls().size() == (wanted == type && type < Storage::ITEMTYPE_BSTRING ? 1 : 2));
            const std::string mismatch = std::string("TypeMismatchException: Expected an item of type: '") +
                                         Storage::getItemTypeName(wanted) + "' but found an item of type: '" +
                                         Storage::getItemTypeName(type) + "'";
            CHECK(outcome == (wanted == type ? "" : mismatch));
            CHECK(cameBack == (wanted == type));
            CHECK(name == std::string(wanted == type ? "name" : ""));
            CHECK(in.getPosition() == (wanted == type ? 18 + stored.size() : 19));
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "class brackets hand back what they were given and are skipped as a whole") {
    Input in(fileOf(writeObject, Endian::ENDIAN_BIG));
    const auto start = in.storage.getPosition();
    const char *name, *type, *base;
    uint32 number;
    in.storage.readClassEnter(name, type, base, number);
    CHECK(std::string(name) + " " + type + " " + base + " " + std::to_string(number) == "outer Type Base 7");
    for (const char* skipped : {"a7", "14", "b7", "15"})
        CHECK(skipNext(in.storage) == skipped);
    const auto end = in.storage.getPosition();
    CHECK((!start->equals(end) && !start->equals(nullptr)));
    in.storage.setPosition(start);
    CHECK(skipNext(in.storage) == "14");
    CHECK(in.storage.getPosition()->equals(end));
    CHECK(skipNext(in.storage) == "a7");

    const int depth = 100000;
    Input deep(fileOf([](Storage& storage) {
        for (int left = depth; left != 0; --left)
            storage.writeClassEnter("", "", "", 0);
        for (int left = depth; left != 0; --left)
            storage.writeClassExit();
    }));
    CHECK(skipNext(deep.storage) == "14");
    CHECK(deep.getPosition() == 18 + depth * 18);
}

TEST_CASE_FIXTURE(LibraryTest, "an item that cannot be right ends in its text, and what it is read into stays") {
    static constexpr char cKept[] = "?";
    struct Read {
        const char *name = cKept, *type = cKept, *base = cKept;
        uint32 number = 9;
        String text = cKept;
        WString wide = L"?";
        bool operator==(const Read&) const = default;
    };
    const auto readNumber = [](Storage& from, Read& to) { from.readUInt32(to.name, to.number); };
    const auto readClass = [](Storage& from, Read& to) { from.readClassEnter(to.name, to.type, to.base, to.number); };
    const auto readText = [](Storage& from, Read& to) { from.readBString(to.name, to.text); };
    const auto readWide = [](Storage& from, Read& to) { from.readWString(to.name, to.wide); };
    const auto skip = [](Storage& from, Read& to) { from.skipItem(to.name, to.number); };
    const std::string corrupted = "SerializeException: The stream is corrupted. ";
    const std::string shortly = corrupted + "It ends inside of the data that is read";
    const std::string noName = corrupted + "The instance name lookup table is not valid";
    const std::string noType = corrupted + "The type name lookup table is not valid";
    const std::string mismatch = "TypeMismatchException: Expected an item of type: ";
    const struct {
        const char* items;
        std::function<void(Storage&, Read&)> read;
        std::string outcome;
    } cases[] = {
        {"c8", readNumber, mismatch + "'uint32' but found an item of type: 'unknown (200)'"},
        {"06 01000000 05000000", readNumber, noName},
        {"0c 01000000 0100 61", readText, noName},
        {"0e 01000000 00000000 00000000 05000000", readClass, noName},
        {"0e 00000000 01000000 00000000 05000000", readClass, noType},
        {"0e 00000000 00000000 01000000 05000000", readClass, noType},
        {"0e 00000000 00000000 01000000 05000000 0f", skip, noType},
        {"0c 00000000 ff00 61", readText, shortly},
        {"0c 00000000 ffff 61", readText, shortly},
        {"0d 00000000 ff00 61", readWide, shortly},
        {"0d 00000000 ffff 61", readWide, shortly},
        {"0c 00000000 ffff 61", skip, shortly},
        {"0e 00000000 00000000 00000000 05000000 c8", skip,
         corrupted + "A class holds an item of type: 'unknown (200)'"},
    };
    for (const auto& row : cases) {
        CAPTURE(row.items);
        Input in(fileWith(row.items));
        Read values;
        CHECK(outcomeOf([&] { row.read(in.storage, values); }) == row.outcome);
        CHECK(values == Read());
    }
    Input in(fileWith("c8 01 00000000 02"));
    CHECK(skipNext(in.storage) == "null 200");
    CHECK(in.getPosition() == 18);
    bool value = false;
    const char* name = nullptr;
    const auto thrown = catchThrown<Serialize::TypeMismatchException>([&] { in.storage.readBool(name, value); });
    CHECK(thrown->getFoundType() + " " + thrown->getExpectedType() == "unknown (200) bool");
    in.storage.readBool(name, value);
    CHECK(value);
}

TEST_CASE_FIXTURE(LibraryTest, "text of any length has its bytes, comes back, and is skipped as far as it is read") {
    for (const uint32 length : {1u, 256u, 257u, 512u, 513u, 65535u}) {
        CAPTURE(length);
        const std::string count = {static_cast<char>(length), static_cast<char>(length >> 8)};
        std::string narrow = patternOf(length), units;
        for (const char c : narrow)
            units += {c, '\x01'};
        const String text(narrow.data(), length);
        WString wide;
        for (const char c : narrow)
            wide.push_back(static_cast<wchar_t>(0x100 + static_cast<unsigned char>(c)));
        const std::string file = fileOf([&](Storage& storage) {
            storage.writeBString("", text);
            storage.writeWString("", wide);
        });
        const std::string stored =
            "\x0c" + std::string(4, '\0') + count + narrow + "\x0d" + std::string(4, '\0') + count + units;
        CHECK((file.substr(18, stored.size()) == stored));
        Input in(file), skipping(file);
        const char* name;
        String textCopy;
        in.storage.readBString(name, textCopy);
        CHECK((textCopy == text && skipNext(skipping.storage) == "12" && skipping.getPosition() == in.getPosition()));
        WString wideCopy;
        in.storage.readWString(name, wideCopy);
        CHECK((wideCopy == wide && skipNext(skipping.storage) == "13" && skipping.getPosition() == in.getPosition()));
    }
    const WString wide(65535, L'x');
    Input in(fileOf([&](Storage& storage) { storage.writeWString("w", wide); }));
    // Memory for the units, and then for the characters.
    for (const int granted : {0, 1}) {
        WString kept = L"?";
        const char* name = nullptr;
        in.seek(18, IO::Stream::SORIGIN_BEGIN);
        getMemory().failAfter(granted);
        catchThrown<Memory::OutOfMemoryException>([&] { in.storage.readWString(name, kept); });
        getMemory().failNever();
        CHECK((kept == L"?" && !name));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "wide text travels in 16-bit units, text of more than 65535 not at all") {
    const std::pair<WString, const char*> cases[] = {
        {WString(65535, L'x'), "78 00 78 00"},
        {L"\U0001F600a", "3d d8 00 de 61 00"},
        {L"\xD800\x61\xDC00", "00 d8 61 00 00 dc"},
        {L"\xDFFF\xDBFF", "ff df ff db"},
    };
    const String longest(65535, 'x');
    const char* name;
    for (const auto& [text, units] : cases) {
        Input in(fileOf([&, &text = text](Storage& storage) { storage.writeWString(longest.c_str(), text); }));
        CHECK(hexOf(in.getBytes().data() + 25, bytesOf(units).size()) == units);
        WString copy;
        in.storage.readWString(name, copy);
        CHECK((copy == text && longest == name));
    }
    RecordingStream stream;
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
    storage.open(&stream);
    const std::string refused = "SerializeException: A text of 65536 characters is too long to be stored";
    CHECK(outcomeOf([&] { storage.writeBString("s", longest + "x"); }) == refused);
    CHECK(outcomeOf([&] { storage.writeWString("w", cases[0].first + L"x"); }) == refused);
    CHECK(outcomeOf([&] { storage.writeClassEnter("c", "t", (longest + "x").c_str(), 1); }) == refused);
    CHECK(stream.getBytes().size() == 18);
    storage.close();
    CHECK(stream.getBytes() == fileOf([](Storage&) {}));
    CHECK(fileOf([](Storage& to) { to.writeWString("", L"\x110000"); }).substr(25, 2) == bytesOf("fd ff"));
}

TEST_CASE_FIXTURE(LibraryTest, "a stream without names or types is read as its features say") {
    for (const int features : {0, 1, 2, 3}) {
        CAPTURE(features);
        const std::string index = features & 1 ? "00000000" : "";
        const auto typed = [features](const char* byte) { return std::string(features & 2 ? byte : ""); };
        const std::string file =
            fileWith(typed("07") + index + "05000000" + typed("0e") + index + "000000000000000009000000" + typed("0f"),
                     features);
        Input in(file);
        const char *name = "", *className = "", *typeName = nullptr;
        int32 value = 0;
        uint32 number = 9;
        CHECK(outcomeOf([&] { number = in.storage.peekItemType(); }) ==
              (features & 2 ? ""
                            : "common/serialize/binaryserializestorage: HAS_FEAT_STREAMIDS()\nError Message: Needed "
                              "feature StreamIDs is not enabled for the current stream"));
        CHECK(number == (features & 2 ? 7 : 0));
        in.storage.readInt32(name, value);
        in.storage.readClassEnter(className, typeName, typeName, number);
        in.storage.readClassExit();
        CHECK((value == 5 && number == 9 && typeName == std::string("t")));
        CHECK((name == className && (name ? name : "") == std::string(features & 1 ? "n" : "")));
        CHECK(in.getPosition() == uint64(file[6]));
        in.seek(18, IO::Stream::SORIGIN_BEGIN);
        in.storage.writeInt32("n", 5);
        in.storage.writeClassEnter("n", "t", "t", 9);
        in.storage.writeClassExit();
        CHECK(in.getPosition() == uint64(file[6]));
        CHECK(in.getBytes() == file);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a memory stream gives the same items, however its blocks cut them") {
    const std::string notOpen = "InvalidStateException: BinarySerializeStorage: The storage is not open.";
    const String longText(700, 'x');
    for (uint32 blockSize = 1; blockSize <= 300; ++blockSize) {
        CAPTURE(blockSize);
        Memory::MemoryStream stream("stream", blockSize);
        BinarySerializeStorage output(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
        REQUIRE(output.open(&stream));
        for (const Item& item : items())
            item.write(output);
        output.writeBString("long", longText);
        output.close();
        stream.seek(0, IO::Stream::SORIGIN_BEGIN);
        BinarySerializeStorage storage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE);
        REQUIRE(storage.open(&stream));
        const char* name = "";
        for (const Item& item : items()) {
            const uint64 start = stream.getPosition();
            const Item& other = &item == &items().front() ? items().back() : items().front();
            CHECK(outcomeOf([&] { other.read(storage, name); }).starts_with("TypeMismatchException: "));
            CHECK(stream.getPosition() == start + 1);
            stream.seek(-1, IO::Stream::SORIGIN_CURRENT);
            CHECK(item.read(storage, name));
            CHECK(name == std::string("name"));
        }
        String text;
        storage.readBString(name, text);
        CHECK((text == longText && name == std::string("long")));
        stream.seek(0, IO::Stream::SORIGIN_BEGIN);
        storage.close();
        CHECK(outcomeOf([&] { items().front().read(storage, name); }) == notOpen);
    }
    for (const char* start : {"13", "12 01 03000000"}) {
        const std::string bytes = bytesOf(start) + std::string(100, '\0');
        Memory::MemoryStream stream("stream", 1000);
        stream.write(bytes.data(), bytes.size());
        stream.seek(0, IO::Stream::SORIGIN_BEGIN);
        BinarySerializeStorage storage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE);
        bool isOpen = false;
        outcomeOf([&] { isOpen = storage.open(&stream); });
        const char* name;
        CHECK(!isOpen);
        CHECK(outcomeOf([&] { items().front().read(storage, name); }) == notOpen);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a class that derives from the memory stream has its say in every read") {
    struct : Memory::MemoryStream {
        using MemoryStream::MemoryStream;
        uint64 read(void* dst, uint64 numBytes) override {
            ++mReads;
            return MemoryStream::read(dst, numBytes);
        }
        int mReads = 0;
    } stream("stream", 1000);
    const std::string file = fileOf(writeObject);
    stream.write(file.data(), file.size());
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    BinarySerializeStorage storage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE);
    REQUIRE(storage.open(&stream));
    stream.mReads = 0;
    readAll(storage);
    // Each item's type is read before the item; two are strings, with their characters behind.
    CHECK(stream.mReads == 2 * cObjectItems + 2);
}
