#include "common/serialize/binaryserializestorage.h"

#include "tests/support/hex.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/streams.h"

#include <functional>
#include <set>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Platform::Endian;
using Serialize::BinarySerializeStorage;
using Storage = Serialize::SerializeStorage;
using enum Storage::ItemType;

namespace {

/// The bytes that two hexadecimal digits each stand for; blanks do not count.
std::string bytesOf(const std::string& hex) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < hex.size(); at += hex[at] == ' ' ? 1 : 2) {
        if (hex[at] != ' ')
            bytes += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

template <class Body>
std::string fileOf(Body body, Endian::Endiness order = Endian::ENDIAN_LITTLE) {
    RecordingStream stream;
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, order);
    REQUIRE(storage.open(&stream));
    body(storage);
    storage.close();
    return stream.getBytes();
}

struct Input : RecordingStream {
    explicit Input(const std::string& bytes) : RecordingStream(bytes) { isOpen = storage.open(this); }
    BinarySerializeStorage storage{Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE};
    bool isOpen = false;
};

/// One type of item: how a value of it is written and read, and its bytes in both orders.
struct Item {
    std::string payload[2]; ///< by byte order
    std::function<void(Storage&)> write;
    std::function<bool(Storage&, const char*&)> read; ///< returns whether the value came back
};

/// The value is what the stored type `T` is made from: the table outlives the library, and holds no string of its.
template <class Value, class Argument, class T>
Item itemOf(Value value, const char* little, const char* big, void (Storage::*write)(const char*, Argument),
            void (Storage::*read)(const char*&, T&)) {
    return {{big, little},
            [=](Storage& storage) { (storage.*write)("name", T(value)); },
            [=](Storage& storage, const char*& name) {
                T copy{};
                (storage.*read)(name, copy);
                return copy == T(value);
            }};
}

const std::vector<Item>& items() {
    using S = Storage;
    static const std::vector<Item> cItems = {
        itemOf(true, "01", "01", &S::writeBool, &S::readBool),
        itemOf(uint8{200}, "c8", "c8", &S::writeUInt08, &S::readUInt08),
        itemOf(int8{-2}, "fe", "fe", &S::writeInt08, &S::readInt08),
        itemOf(uint16{0x1234}, "34 12", "12 34", &S::writeUInt16, &S::readUInt16),
        itemOf(int16{-2}, "fe ff", "ff fe", &S::writeInt16, &S::readInt16),
        itemOf(uint32{0x12345678}, "78 56 34 12", "12 34 56 78", &S::writeUInt32, &S::readUInt32),
        itemOf(int32{5}, "05 00 00 00", "00 00 00 05", &S::writeInt32, &S::readInt32),
        itemOf(uint64{1} << 56, "00 00 00 00 00 00 00 01", "01 00 00 00 00 00 00 00", &S::writeUInt64, &S::readUInt64),
        itemOf(int64{-2}, "fe ff ff ff ff ff ff ff", "ff ff ff ff ff ff ff fe", &S::writeInt64, &S::readInt64),
        itemOf(1.5f, "00 00 c0 3f", "3f c0 00 00", &S::writeFloat32, &S::readFloat32),
        itemOf(-2.0, "00 00 00 00 00 00 00 c0", "c0 00 00 00 00 00 00 00", &S::writeFloat64, &S::readFloat64),
        itemOf("ab", "02 00 61 62", "00 02 61 62", &S::writeBString, &S::readBString),
        itemOf(L"a\u20ac", "02 00 61 00 ac 20", "00 02 61 00 ac 20", &S::writeWString, &S::readWString),
    };
    return cItems;
}

/// A class with an item, a class with everything else in it and another item; and an item behind.
void writeObject(Storage& storage) {
    storage.writeClassEnter("outer", "Type", "Base", 7);
    storage.writeInt32("a", 1);
    storage.writeClassEnter("inner", "Base", nullptr, 8);
    for (const Item& item : items())
        item.write(storage);
    storage.writeClassExit();
    storage.writeInt32("b", 2);
    storage.writeClassExit();
    storage.writeInt32("a", 3);
}
constexpr int cObjectItems = 20;

std::string skipNext(Storage& storage) {
    const char* name = "?";
    uint32 type = 0;
    storage.skipItem(name, type);
    return (name ? name : "null ") + std::to_string(type);
}

/// Reads all items of an object, each with the function for its type.
void readAll(
    Storage& storage, const std::function<void()>& beforeEach = [] {}) {
    for (int left = cObjectItems; left != 0; --left) {
        beforeEach();
        const uint8 type = storage.peekItemType();
        const char* name;
        uint32 value;
        if (type == ITEMTYPE_CLASS_ENTER)
            storage.readClassEnter(name, name, name, value);
        else if (type == 0 || type > items().size())
            storage.readClassExit();
        else
            items()[type - 1u].read(storage, name);
    }
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "every type of item has its bytes in both orders, written and read with one call") {
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
        Input in(stream.getBytes());
        CHECK(log.messages() == (order == Endian::ENDIAN_LITTLE
                                     ? ""
                                     : "PERFORMANCE WARNING: Stream stored has not the same endiness as the current "
                                       "system, byte swapping enabled ! "));
        for (uint32 wanted = 1; wanted <= items().size(); ++wanted) {
            const char* name = "";
            bool cameBack = false;
            in.seek(18, IO::Stream::SORIGIN_BEGIN);
            const std::string outcome = outcomeOf([&] { cameBack = items()[wanted - 1].read(in.storage, name); });
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

TEST_CASE_FIXTURE(LibraryTest, "a file that was cut or changed ends in a documented failure, whatever is changed") {
    const std::string file = fileOf(writeObject);
    Input whole(file);
    std::set<std::size_t> typePlaces;
    readAll(whole.storage, [&] { typePlaces.insert(static_cast<std::size_t>(whole.getPosition())); });
    for (std::size_t length = 0; length < file.size(); ++length)
        CHECK(outcomeOf([&] { Input in(file.substr(0, length)); }).starts_with("SerializeException: The stream is"));
    // A type is replaced by everything, other bytes by a few values; then all is skipped, or all is read.
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (std::size_t change = 0; change < 512; change += typePlaces.contains(at) ? 1 : 37) {
            std::string changed = file;
            changed[at] = static_cast<char>(change / 2);
            const std::string outcome = outcomeOf([&] {
                Input in(changed);
                if (!in.isOpen)
                    return;
                for (int left = change % 2 != 0 ? cObjectItems : 0; left != 0; --left)
                    skipNext(in.storage);
                if (change % 2 == 0)
                    readAll(in.storage);
            });
            if (!outcome.empty() && !outcome.starts_with("SerializeException: ") &&
                !outcome.starts_with("TypeMismatchException: ") && outcome.find("StreamIDs is not") == outcome.npos)
                FAIL("changing byte ", at, " ends in ", outcome);
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what cannot be opened is refused with a text and lets go of the stream") {
    const std::string corrupted = "SerializeException: The stream is corrupted. ";
    const std::string shortly = corrupted + "It ends inside of the data that is read";
    const std::pair<const char*, std::string> cases[] = {
        {"13", "Wrong stream, this is no BinarySerializeStorage stream ! "},
        {"12 01 02000000", "The input stream has a wrong version for this serialize storage. We found version '2' but "
                           "expected version '3' "},
        {"12 01 03000000 0000000000000000",
         "SerializeException: Stream is corrupted, no lookup table stored in the stream"},
        {"12 01 03000000 0f00000000000080", corrupted + "The lookup tables lie behind its end"},
        {"12 01 03000000 1200000000000000 03000000 ffffffff 00000000", shortly},
        {"", shortly},
    };
    for (const auto& [bytes, refusal] : cases) {
        const RecordingListener log;
        RecordingStream stream(bytesOf(bytes));
        BinarySerializeStorage storage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE);
        bool isOpen = false;
        const std::string thrown = outcomeOf([&] { isOpen = storage.open(&stream); });
        CHECK(thrown + log.messages() == refusal);
        CHECK(!isOpen);
        CHECK(outcomeOf([&] { storage.peekItemType(); }) ==
              "InvalidStateException: BinarySerializeStorage: The storage is not open.");
        for (const auto& heard : log.mHeard)
            CHECK(heard.function + " " + heard.file ==
                  "Tarq::Common::Serialize::BinarySerializeStorage::open common/serialize/binaryserializestorage");
    }
    struct : RecordingStream {
        bool canSeek() const override { return false; }
    } unable;
    const RecordingListener log;
    for (int round = 0; round < 2; ++round) {
        CHECK(!BinarySerializeStorage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE).open(&unable));
        CHECK(!BinarySerializeStorage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE).open(&unable));
        unable.close();
    }
    CHECK(log.messages() == "IO stream has to be seekable for an output serialize stream "
                            "IO stream has to be seekable for an input serialize stream "
                            "IO stream has to be writable for an output serialize stream "
                            "IO stream has to be readable for an input serialize stream ");
}

TEST_CASE_FIXTURE(LibraryTest, "names are stored once in the order of first use, and stay where they were handed out") {
    std::mt19937 random(5);
    Texts written, distinct;
    const std::string file = fileOf([&](Storage& storage) {
        for (int left = 5000; left != 0; --left) {
            written.push_back("name" + std::to_string(left % 3 == 0 ? random() % 2000 : left % 7));
            storage.writeBool(written.back().c_str(), true);
            if (std::find(distinct.begin(), distinct.end(), written.back()) == distinct.end())
                distinct.push_back(written.back());
        }
    });
    std::string table = {static_cast<char>(distinct.size()), static_cast<char>(distinct.size() >> 8), 0, 0};
    for (const std::string& name : distinct)
        table += std::string{static_cast<char>(name.size()), '\0'} + name;
    CHECK(file.substr(18 + 6 * written.size()) == table + std::string(4, '\0'));
    Input in(file);
    std::vector<const char*> names(written.size());
    bool value;
    for (const char*& name : names)
        in.storage.readBool(name, value);
    RecordingStream other(fileOf(writeObject));
    CHECK(in.storage.open(&other));
    CHECK(std::equal(names.begin(), names.end(), written.begin()));
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
    CHECK(outcomeOf([&] { storage.writeClassEnter("c", "", (longest + "x").c_str(), 1); }) == refused);
    CHECK(stream.getBytes().size() == 18);
}

TEST_CASE_FIXTURE(LibraryTest, "a stream without names or types is read as its features say") {
    for (const int features : {0, 1, 2, 3}) {
        CAPTURE(features);
        const std::string index = features & 1 ? "00000000" : "";
        const auto typed = [features](const char* byte) { return std::string(features & 2 ? byte : ""); };
        std::string bytes = bytesOf("12 01 03000000 0000000000000000 00000000" + typed("07") + index + "05000000" +
                                    typed("0e") + index + "000000000000000009000000" + typed("0f"));
        bytes[6] = static_cast<char>(bytes.size());
        bytes[14] = static_cast<char>(features);
        Input in(bytes + bytesOf("01000000 0100 6e 01000000 0100 74"));
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
        CHECK(in.getPosition() == bytes.size());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a storage goes back to what it wrote, and overwrites what it read") {
    RecordingStream stream;
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
    storage.open(&stream);
    const auto place = storage.getPosition();
    storage.writeInt32("value", 5);
    storage.setPosition(place);
    const char* name;
    int32 value = 0;
    storage.readInt32(name, value);
    CHECK(value == 5);
    storage.close();

    Input in(stream.getBytes());
    in.storage.writeInt32("value", 6);
    CHECK(outcomeOf([&] { in.storage.writeInt32("other", 6); }) ==
          "SerializeException: The stream is open for input and does not know the name 'other'");
    in.seek(18, IO::Stream::SORIGIN_BEGIN);
    in.storage.readInt32(name, value);
    CHECK((value == 6 && in.getBytes().size() == stream.getBytes().size()));
    CHECK(outcomeOf([&] { in.storage.setPosition(nullptr); }).starts_with("ArgumentNullException: "));
    CHECK(outcomeOf([&] { in.storage.open(nullptr); }).starts_with("ArgumentNullException: "));
}

TEST_CASE_FIXTURE(LibraryTest, "what the stream throws passes on, and is logged by a destructor") {
    // The object has 20 writes, behind that of the header; closing has the rest.
    for (int call = 1; call < 43; ++call) {
        const RecordingListener log;
        {
            RecordingStream stream;
            BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
            stream.failAt(call);
            CHECK(outcomeOf([&] {
                      storage.open(&stream);
                      writeObject(storage);
                      storage.close();
                  }) == "IOException: test failure");
        }
        CHECK(log.messages() == (call == 1 || call > 21 ? "" : "Closing a storage has failed: test failure "));
    }
}
