// How the binary storage reads and skips an item; what it does with a whole stream is in binaryserializestorage.cpp.

#include "common/memory/allocate.h"
#include "common/memory/memorystream.h"
#include "common/serialize/binaryserializestorage.h"
#include "common/serialize/internal/itemtypes.h"
#include "common/serialize/internal/numberbytes.h"
#include "common/serialize/internal/storagefailures.h"
#include "common/serialize/internal/wideunits.h"

namespace Tarq::Common::Serialize {

using enum IO::Stream::SeekOrigin;

namespace {

[[noreturn]] void throwMismatch(uint32 expectedType, uint32 foundType) {
    const String expected = shownTypeName(expectedType);
    const String found = shownTypeName(foundType);
    throw new TypeMismatchException(
        "Expected an item of type: '" + expected + "' but found an item of type: '" + found + "'", found, expected);
}

} // namespace

/// Moves behind the next bytes and returns where they lie; null when they have to be copied, and on a closed storage.
inline const void* BinarySerializeStorage::readInPlace(uint32 numBytes) noexcept {
    return mMemoryStream ? mMemoryStream->readInPlace(numBytes) : nullptr;
}

/// Checks the type of an item that is read as a whole, hands out its name and returns where its payload begins.
inline const unsigned char* BinarySerializeStorage::loadHead(ItemType type, const char*& name,
                                                             const unsigned char* bytes, uint32 size) {
    if (mTypeSize != 0 && *bytes != type) [[unlikely]]
        refuseItem(type, bytes, size);
    bytes += mTypeSize;
    if (nameSizeOf(type) == 0) {
        name = nullptr;
        return bytes;
    }
    uint32 index;
    loadNumber(index, bytes, mIsSwapped);
    if (index >= mInstanceNames.size()) [[unlikely]]
        throwCorrupted("The instance name lookup table is not valid");
    name = mInstanceNames[index];
    return bytes + sizeof(index);
}

/// Reads type, name and payload with one call, in place or into `buffer`, and returns where the payload begins.
inline const unsigned char* BinarySerializeStorage::readItem(ItemType type, const char*& name, unsigned char* buffer,
                                                             uint32 payloadSize) {
    const uint32 size = mTypeSize + nameSizeOf(type) + payloadSize;
    if (const void* const bytes = readInPlace(size))
        return loadHead(type, name, static_cast<const unsigned char*>(bytes), size);
    return copyItem(type, name, buffer, size);
}

const unsigned char* BinarySerializeStorage::copyItem(ItemType type, const char*& name, unsigned char* buffer,
                                                      uint32 size) {
    requireOpen();
    const uint64 bytesRead = size != 0 ? mStream->read(buffer, size) : 0;
    if (bytesRead != size) [[unlikely]]
        refuseItem(type, buffer, bytesRead);
    return loadHead(type, name, buffer, size);
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
    unsigned char bytes[cLongestItem];
    loadNumber(value, readItem(type, name, bytes, sizeof(T)), mIsSwapped);
}

/// Hands the characters to `use`, as `Unit`s and their number.
template <class Unit, class Use>
void BinarySerializeStorage::readCharacters(ItemType type, const char*& name, Use use) {
    unsigned char head[cLongestItem];
    const char* found;
    uint16 count;
    loadNumber(count, readItem(type, found, head, sizeof(uint16)), mIsSwapped);
    const uint32 numBytes = count * uint32{sizeof(Unit)};
    // In place, 16-bit units may not be aligned.
    if (const void* const inPlace = sizeof(Unit) == 1 ? readInPlace(numBytes) : nullptr) {
        use(static_cast<const Unit*>(inPlace), count);
    } else if (numBytes <= cShortText) {
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

/// Moves behind an item, or a bracket, of a type that has a name.
void BinarySerializeStorage::skipOne(uint8 itemType, const char*& name) {
    const auto type = static_cast<ItemType>(itemType);
    unsigned char bytes[cLongestItem];
    const unsigned char* const payload = readItem(type, name, bytes, cItemTypes[itemType].payloadSize);
    if (type == ITEMTYPE_CLASS_ENTER) {
        typeNameAt(payload);
        typeNameAt(payload + sizeof(uint32));
    } else if (type == ITEMTYPE_BSTRING || type == ITEMTYPE_WSTRING) {
        uint16 count;
        loadNumber(count, payload, mIsSwapped);
        skipCharacters(type == ITEMTYPE_BSTRING ? count : count * uint32{sizeof(uint16)});
    }
}

/// Reads short text: one call of the stream is less than it takes to see whether there is enough to leave out.
void BinarySerializeStorage::skipCharacters(uint32 numBytes) {
    if (numBytes <= cShortText) {
        unsigned char ignored[cShortText];
        readBytes(ignored, numBytes);
    } else {
        if (numBytes > bytesLeft())
            throwShort();
        mStream->seek(numBytes, SORIGIN_CURRENT);
    }
}

void BinarySerializeStorage::readClassEnter(const char*& name, const char*& typeName, const char*& secondTypeName,
                                            uint32& value) {
    unsigned char bytes[cLongestItem];
    const char* found;
    const unsigned char* const payload = readItem(ITEMTYPE_CLASS_ENTER, found, bytes, 3 * sizeof(uint32));
    const char* const foundType = typeNameAt(payload);
    secondTypeName = typeNameAt(payload + sizeof(uint32));
    typeName = foundType;
    name = found;
    loadNumber(value, payload + 2 * sizeof(uint32), mIsSwapped);
}

void BinarySerializeStorage::readClassExit() {
    unsigned char bytes[cLongestItem];
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

} // namespace Tarq::Common::Serialize
