// How the binary storage reads and writes its items; opening, closing and skipping are in binaryserializestorage.cpp.

#include "common/memory/allocate.h"
#include "common/serialize/binaryserializestorage.h"
#include "common/serialize/internal/numberbytes.h"
#include "common/serialize/internal/storagefailures.h"
#include "common/serialize/internal/wideunits.h"

#include <cstring>

namespace Tarq::Common::Serialize {

using enum IO::Stream::SeekOrigin;

namespace {

/// Of a string or a name, in characters: lengths have 16 bits.
constexpr uint32 cLongestText = 65535;
/// The bytes that type and name have in front of an item's payload, at the most.
constexpr uint32 cLongestHead = 5;
/// Strings up to this size, in bytes, pass through the stack.
constexpr uint32 cShortText = 512;

void requireShort(uint64 length) {
    if (length > cLongestText)
        throw new SerializeException(
            (String("A text of ").appendDecimal(length) += " characters is too long to be stored"));
}

[[noreturn]] void throwMismatch(uint32 expectedType, uint32 foundType) {
    const String expected = shownTypeName(expectedType);
    const String found = shownTypeName(foundType);
    throw new TypeMismatchException(
        "Expected an item of type: '" + expected + "' but found an item of type: '" + found + "'", found, expected);
}

} // namespace

/// Reads type, name and payload with one call, and returns where the payload begins.
inline unsigned char* BinarySerializeStorage::readItem(ItemType type, const char*& name, unsigned char* bytes,
                                                       uint32 payloadSize) {
    requireOpen();
    const uint32 nameSize = type == ITEMTYPE_CLASS_EXIT ? 0 : mNameSize;
    const uint32 size = mTypeSize + nameSize + payloadSize;
    const uint64 bytesRead = size != 0 ? mStream->read(bytes, size) : 0;
    if (bytesRead != size || (mTypeSize != 0 && bytes[0] != type)) [[unlikely]]
        refuseItem(type, bytes, bytesRead);
    const char* found = nullptr;
    if (nameSize != 0) {
        uint32 index;
        loadNumber(index, bytes + mTypeSize, mIsSwapped);
        if (index >= mInstanceNames.size()) [[unlikely]]
            throwCorrupted("The instance name lookup table is not valid");
        found = mInstanceNames[index];
    }
    name = found;
    return bytes + mTypeSize + nameSize;
}

/// Leaves the stream behind the type of an item that has another one.
void BinarySerializeStorage::refuseItem(ItemType type, const unsigned char* bytes, uint64 bytesRead) {
    if (mTypeSize == 0 || bytesRead == 0 || bytes[0] == type)
        throwShort();
    if (bytesRead > 1)
        mStream->seek(1 - static_cast<int64>(bytesRead), SORIGIN_CURRENT);
    throwMismatch(type, bytes[0]);
}

template <class T>
void BinarySerializeStorage::readPlain(ItemType type, const char*& name, T& value) {
    unsigned char bytes[cLongestHead + sizeof(T)];
    loadNumber(value, readItem(type, name, bytes, sizeof(T)), mIsSwapped);
}

/// Hands the characters to `use`, as `Unit`s and their number.
template <class Unit, class Use>
void BinarySerializeStorage::readCharacters(ItemType type, const char*& name, Use use) {
    unsigned char head[cLongestHead + sizeof(uint16)];
    const char* found;
    uint16 count;
    loadNumber(count, readItem(type, found, head, sizeof(uint16)), mIsSwapped);
    const uint32 numBytes = count * uint32{sizeof(Unit)};
    if (numBytes <= cShortText) {
        Unit units[cShortText / sizeof(Unit)];
        readBytes(units, numBytes);
        use(units, count);
    } else {
        if (numBytes > bytesLeft())
            throwShort();
        const Memory::ScopedBytes units(getAllocator(), numBytes);
        readBytes(units.get(), numBytes);
        use(static_cast<const Unit*>(units.get()), count);
    }
    name = found;
}

const char* BinarySerializeStorage::typeNameAt(const unsigned char* bytes) const {
    uint32 index;
    loadNumber(index, bytes, mIsSwapped);
    if (index >= mTypeNames.size())
        throwCorrupted("The type name lookup table is not valid");
    return mTypeNames[index];
}

/// Reads one item, or one bracket, of a type that has a name.
void BinarySerializeStorage::skipOne(uint8 itemType, const char*& name) {
    static constexpr uint8 cPayloadSizes[] = {0, 1, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 0, 0, 12, 0};
    const auto type = static_cast<ItemType>(itemType);
    if (type == ITEMTYPE_BSTRING) {
        readCharacters<char>(type, name, [](const char*, uint32) {});
    } else if (type == ITEMTYPE_WSTRING) {
        readCharacters<uint16>(type, name, [](const uint16*, uint32) {});
    } else if (type == ITEMTYPE_CLASS_ENTER) {
        const char* typeName;
        uint32 value;
        readClassEnter(name, typeName, typeName, value);
    } else {
        unsigned char bytes[cLongestHead + sizeof(uint64)];
        readItem(type, name, bytes, cPayloadSizes[itemType]);
    }
}

void BinarySerializeStorage::readClassEnter(const char*& name, const char*& typeName, const char*& secondTypeName,
                                            uint32& value) {
    unsigned char bytes[cLongestHead + 3 * sizeof(uint32)];
    const char* found;
    const unsigned char* const payload = readItem(ITEMTYPE_CLASS_ENTER, found, bytes, 3 * sizeof(uint32));
    const char* const foundType = typeNameAt(payload);
    secondTypeName = typeNameAt(payload + sizeof(uint32));
    typeName = foundType;
    name = found;
    loadNumber(value, payload + 2 * sizeof(uint32), mIsSwapped);
}

void BinarySerializeStorage::readClassExit() {
    unsigned char bytes[cLongestHead];
    const char* name;
    readItem(ITEMTYPE_CLASS_EXIT, name, bytes, 0);
}

void BinarySerializeStorage::readWString(const char*& name, WString& value) {
    readCharacters<uint16>(ITEMTYPE_WSTRING, name,
                           [&value](const uint16* units, uint32 count) { WideUnits::assign(value, units, count); });
}

void BinarySerializeStorage::readBString(const char*& name, String& value) {
    readCharacters<char>(ITEMTYPE_BSTRING, name,
                         [&value](const char* characters, uint32 count) { value.assign(characters, count); });
}

void BinarySerializeStorage::readFloat64(const char*& name, double& value) {
    readPlain(ITEMTYPE_FLOAT64, name, value);
}

void BinarySerializeStorage::readFloat32(const char*& name, float& value) {
    readPlain(ITEMTYPE_FLOAT32, name, value);
}

void BinarySerializeStorage::readInt64(const char*& name, int64& value) {
    readPlain(ITEMTYPE_INT64, name, value);
}

void BinarySerializeStorage::readUInt64(const char*& name, uint64& value) {
    readPlain(ITEMTYPE_UINT64, name, value);
}

void BinarySerializeStorage::readInt32(const char*& name, int32& value) {
    readPlain(ITEMTYPE_INT32, name, value);
}

void BinarySerializeStorage::readUInt32(const char*& name, uint32& value) {
    readPlain(ITEMTYPE_UINT32, name, value);
}

void BinarySerializeStorage::readInt16(const char*& name, int16& value) {
    readPlain(ITEMTYPE_INT16, name, value);
}

void BinarySerializeStorage::readUInt16(const char*& name, uint16& value) {
    readPlain(ITEMTYPE_UINT16, name, value);
}

void BinarySerializeStorage::readInt08(const char*& name, int8& value) {
    readPlain(ITEMTYPE_INT08, name, value);
}

void BinarySerializeStorage::readUInt08(const char*& name, uint8& value) {
    readPlain(ITEMTYPE_UINT08, name, value);
}

void BinarySerializeStorage::readBool(const char*& name, bool& value) {
    readPlain(ITEMTYPE_BOOL, name, value);
}

inline uint32 BinarySerializeStorage::indexOf(NameTable& table, const char* name) {
    const char* const text = name ? name : "";
    const uint32 known = table.find(text);
    if (known != NameTable::cNone) [[likely]]
        return known;
    return addName(table, text);
}

uint32 BinarySerializeStorage::addName(NameTable& table, const char* name) {
    const String::Text text(name);
    requireShort(text.size());
    if (mMode != SMODE_OUTPUT)
        throw new SerializeException("The stream is open for input and does not know the name '" + String(text) + "'");
    return table.append(text);
}

/// Puts type and name in front of an item and returns where the payload goes.
inline unsigned char* BinarySerializeStorage::storeHead(unsigned char* bytes, ItemType type, const char* name) {
    requireOpen();
    if (mTypeSize != 0)
        *bytes++ = type;
    return mNameSize != 0 ? storeNumber(bytes, indexOf(mInstanceNames, name), mIsSwapped) : bytes;
}

inline void BinarySerializeStorage::writeItem(const unsigned char* bytes, const unsigned char* end) {
    mStream->write(bytes, static_cast<uint64>(end - bytes));
}

template <class T>
void BinarySerializeStorage::writePlain(ItemType type, const char* name, T value) {
    unsigned char bytes[cLongestHead + sizeof(T)];
    writeItem(bytes, storeNumber(storeHead(bytes, type, name), value, mIsSwapped));
}

void BinarySerializeStorage::writeClassEnter(const char* name, const char* typeName, const char* secondTypeName,
                                             uint32 value) {
    unsigned char bytes[cLongestHead + 3 * sizeof(uint32)];
    unsigned char* end = storeHead(bytes, ITEMTYPE_CLASS_ENTER, name);
    end = storeNumber(end, indexOf(mTypeNames, typeName), mIsSwapped);
    end = storeNumber(end, indexOf(mTypeNames, secondTypeName), mIsSwapped);
    writeItem(bytes, storeNumber(end, value, mIsSwapped));
}

void BinarySerializeStorage::writeClassExit() {
    requireOpen();
    const uint8 type = ITEMTYPE_CLASS_EXIT;
    if (mTypeSize != 0)
        mStream->write(&type, sizeof(type));
}

void BinarySerializeStorage::writeWString(const char* name, const WString& value) {
    const uint64 count = WideUnits::count(value);
    requireShort(count);
    unsigned char head[cLongestHead + sizeof(uint16)];
    const unsigned char* const headEnd =
        storeNumber(storeHead(head, ITEMTYPE_WSTRING, name), static_cast<uint16>(count), mIsSwapped);
    const std::size_t headSize = static_cast<std::size_t>(headEnd - head);
    const Memory::ScopedBytes item(getAllocator(), headSize + static_cast<std::size_t>(count) * sizeof(uint16));
    auto* const bytes = static_cast<unsigned char*>(item.get());
    std::memcpy(bytes, head, headSize);
    unsigned char* end = bytes + headSize;
    WideUnits::forEach(value, [&end](uint16 unit) {
        std::memcpy(end, &unit, sizeof(unit));
        end += sizeof(unit);
    });
    writeItem(bytes, end);
}

void BinarySerializeStorage::writeBString(const char* name, const String& value) {
    requireShort(value.length());
    unsigned char bytes[cLongestHead + sizeof(uint16) + cShortText];
    unsigned char* end = storeHead(bytes, ITEMTYPE_BSTRING, name);
    end = storeNumber(end, static_cast<uint16>(value.length()), mIsSwapped);
    if (value.length() <= cShortText) {
        std::memcpy(end, value.data(), value.length());
        writeItem(bytes, end + value.length());
    } else {
        writeItem(bytes, end);
        mStream->write(value.data(), value.length());
    }
}

void BinarySerializeStorage::writeFloat64(const char* name, double value) {
    writePlain(ITEMTYPE_FLOAT64, name, value);
}

void BinarySerializeStorage::writeFloat32(const char* name, float value) {
    writePlain(ITEMTYPE_FLOAT32, name, value);
}

void BinarySerializeStorage::writeInt64(const char* name, int64 value) {
    writePlain(ITEMTYPE_INT64, name, value);
}

void BinarySerializeStorage::writeUInt64(const char* name, uint64 value) {
    writePlain(ITEMTYPE_UINT64, name, value);
}

void BinarySerializeStorage::writeInt32(const char* name, int32 value) {
    writePlain(ITEMTYPE_INT32, name, value);
}

void BinarySerializeStorage::writeUInt32(const char* name, uint32 value) {
    writePlain(ITEMTYPE_UINT32, name, value);
}

void BinarySerializeStorage::writeInt16(const char* name, int16 value) {
    writePlain(ITEMTYPE_INT16, name, value);
}

void BinarySerializeStorage::writeUInt16(const char* name, uint16 value) {
    writePlain(ITEMTYPE_UINT16, name, value);
}

void BinarySerializeStorage::writeInt08(const char* name, int8 value) {
    writePlain(ITEMTYPE_INT08, name, value);
}

void BinarySerializeStorage::writeUInt08(const char* name, uint8 value) {
    writePlain(ITEMTYPE_UINT08, name, value);
}

void BinarySerializeStorage::writeBool(const char* name, bool value) {
    writePlain(ITEMTYPE_BOOL, name, static_cast<uint8>(value));
}

} // namespace Tarq::Common::Serialize
