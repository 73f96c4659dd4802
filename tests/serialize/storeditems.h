#pragma once

#include "tests/support/hex.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/streams.h"

#include "common/serialize/binaryserializestorage.h"

#include <functional>

/// Files and items for the tests of the binary storage.
namespace Tarq::Test {

using Common::int16;
using Common::int32;
using Common::int8;
using Common::uint16;
using Common::uint8;
using Common::Platform::Endian;
using Common::Serialize::BinarySerializeStorage;
using Storage = Common::Serialize::SerializeStorage;

template <class Body>
std::string fileOf(Body body, Endian::Endiness order = Endian::ENDIAN_LITTLE) {
    RecordingStream stream;
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, order);
    REQUIRE(storage.open(&stream));
    body(storage);
    storage.close();
    return stream.getBytes();
}

/// A file with these items and the name "n", the type name "t" in its tables; all of it in hexadecimal digits.
inline std::string fileWith(const std::string& items, int features = 3) {
    std::string bytes = bytesOf("12 01 03000000 0000000000000000 00000000" + items);
    bytes[6] = static_cast<char>(bytes.size());
    bytes[14] = static_cast<char>(features);
    return bytes + bytesOf("01000000 0100 6e 01000000 0100 74");
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

inline const std::vector<Item>& items() {
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
inline void writeObject(Storage& storage) {
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
inline constexpr int cObjectItems = 20;

inline std::string skipNext(Storage& storage) {
    const char* name = "?";
    uint32 type = 0;
    storage.skipItem(name, type);
    return (name ? name : "null ") + std::to_string(type);
}

/// Reads all items of an object, each with the function for its type.
inline void readAll(
    Storage& storage, const std::function<void()>& beforeEach = [] {}) {
    for (int left = cObjectItems; left != 0; --left) {
        beforeEach();
        const uint8 type = storage.peekItemType();
        const char* name;
        uint32 value;
        if (type == Storage::ITEMTYPE_CLASS_ENTER)
            storage.readClassEnter(name, name, name, value);
        else if (type == 0 || type > items().size())
            storage.readClassExit();
        else
            items()[type - 1u].read(storage, name);
    }
}

} // namespace Tarq::Test
