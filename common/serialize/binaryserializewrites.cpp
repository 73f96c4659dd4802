// How the binary storage writes an item; what it does with a whole stream is in binaryserializestorage.cpp.

#include "common/memory/allocate.h"
#include "common/serialize/binaryserializestorage.h"
#include "common/serialize/internal/itemtypes.h"
#include "common/serialize/internal/numberbytes.h"
#include "common/serialize/internal/wideunits.h"
#include "common/serialize/serializeexception.h"

#include <cstring>

namespace Tarq::Common::Serialize {

namespace {

/// Of a string or a name, in characters: lengths have 16 bits.
constexpr uint32 cLongestText = 65535;

void requireShort(uint64 length) {
    if (length > cLongestText)
        throw new SerializeException(
            (String("A text of ").appendDecimal(length) += " characters is too long to be stored"));
}

/// Returns where the next bytes go.
unsigned char* storeUnits(unsigned char* bytes, const WString& text) {
    WideUnits::forEach(text, [&bytes](uint16 unit) { bytes = storeNumber(bytes, unit, false); });
    return bytes;
}

} // namespace

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

/// Puts the type in front of an item and returns where the name goes.
inline unsigned char* BinarySerializeStorage::storeType(unsigned char* bytes, ItemType type) const noexcept {
    if (mTypeSize != 0)
        *bytes++ = type;
    return bytes;
}

/// Puts type and name in front of an item and returns where the payload goes.
inline unsigned char* BinarySerializeStorage::storeHead(unsigned char* bytes, ItemType type, const char* name) {
    bytes = storeType(bytes, type);
    return mNameSize != 0 ? storeNumber(bytes, indexOf(mInstanceNames, name), mIsSwapped) : bytes;
}

inline void BinarySerializeStorage::writeItem(const unsigned char* bytes, const unsigned char* end) {
    mStream->write(bytes, static_cast<uint64>(end - bytes));
}

template <class T>
void BinarySerializeStorage::writePlain(ItemType type, const char* name, T value) {
    requireOpen();
    unsigned char bytes[cLongestItem];
    writeItem(bytes, storeNumber(storeHead(bytes, type, name), value, mIsSwapped));
}

void BinarySerializeStorage::writeClassEnter(const char* name, const char* typeName, const char* secondTypeName,
                                             uint32 value) {
    requireOpen();
    // A name that is refused leaves those before it out of the tables as well.
    for (const char* const text : {name, typeName, secondTypeName})
        requireShort(String::Text(text).size());
    unsigned char bytes[cLongestItem];
    unsigned char* end = storeHead(bytes, ITEMTYPE_CLASS_ENTER, name);
    end = storeNumber(end, indexOf(mTypeNames, typeName), mIsSwapped);
    end = storeNumber(end, indexOf(mTypeNames, secondTypeName), mIsSwapped);
    writeItem(bytes, storeNumber(end, value, mIsSwapped));
}

void BinarySerializeStorage::writeClassExit() {
    requireOpen();
    unsigned char bytes[cLongestHead];
    if (const unsigned char* const end = storeType(bytes, ITEMTYPE_CLASS_EXIT); end != bytes)
        writeItem(bytes, end);
}

void BinarySerializeStorage::writeWString(const char* name, const WString& value) {
    requireOpen();
    const uint64 count = WideUnits::count(value);
    requireShort(count);
    const uint32 numBytes = static_cast<uint32>(count) * uint32{sizeof(uint16)};
    unsigned char bytes[cLongestHead + sizeof(uint16) + cShortText];
    unsigned char* end = storeHead(bytes, ITEMTYPE_WSTRING, name);
    end = storeNumber(end, static_cast<uint16>(count), mIsSwapped);
    if (numBytes <= cShortText) {
        writeItem(bytes, storeUnits(end, value));
    } else {
        const Memory::ScopedBytes units(getAllocator(), numBytes);
        storeUnits(static_cast<unsigned char*>(units.get()), value);
        writeItem(bytes, end);
        mStream->write(units.get(), numBytes);
    }
}

void BinarySerializeStorage::writeBString(const char* name, const String& value) {
    requireOpen();
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
