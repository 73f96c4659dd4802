#pragma once

#include "common/platform/endian.h"
#include "common/serialize/nametable.h"
#include "common/serialize/serializestorage.h"

namespace Tarq::Common::Memory {

class MemoryStream;

} // namespace Tarq::Common::Memory

namespace Tarq::Common::Serialize {

/// The compact binary form of a storage, in either byte order: a name is stored once, each item carries its index.
///
/// The stream must be able to seek, and the storage begins at its position 0. A file is complete with `close`; until
/// then `open` rejects it. The destructor closes, and logs what fails then.
///
/// A storage is read in the order in which it was written: nothing marks the end of the items. One that writes can read
/// its own items as well, if the stream can be read; one that reads can overwrite items, with names that the stream
/// knows. A storage keeps the names of all streams that it had, so that one for very many of them grows.
///
/// Bytes. Numbers are in the byte order that the header names, and swapped where that is not the machine's.
///   header   uint8 0x12, uint8 byte order, uint32 version 3, uint64 position of the tables, uint32 features
///   items    uint8 type, uint32 index of the item's name, then what the type has: nothing and no name for a class's
///            end; the number; for strings a uint16 count and the characters, wide ones as 16-bit units in the order
///            of the machine that wrote them; for a class the uint32 indexes of its type names and its uint32 value
///   tables   those of the names of items and of types, each a uint32 count, then every name as uint16 length and
///            characters
/// Without feature 1 items have no name, without feature 2 no type; writers set both. Strings and names have up to
/// 65535 characters.
class TARQ_API BinarySerializeStorage : public SerializeStorage {
public:
    class TARQ_API BinaryPosition : public Position {
    public:
        explicit BinaryPosition(uint64 streamPosition) noexcept : mStreamPosition(streamPosition) {}
        ~BinaryPosition() override;
        bool equals(const PositionPtr& other) const override;

        uint64 getStreamPosition() const noexcept { return mStreamPosition; }

    private:
        uint64 mStreamPosition;
    };

    /// The byte order is for writing; reading takes it from the stream.
    BinarySerializeStorage(SerializeMode mode, Platform::Endian::Endiness endiness);
    ~BinarySerializeStorage() override;

    PositionPtr getPosition() const override;
    void setPosition(const PositionPtr& position) override;
    /// Throws `ArgumentNullException`, and `SerializeException` when the stream has no tables or ends too early.
    bool open(IO::Stream* stream) override;
    void close() override;
    void skipItem(const char*& name, uint32& itemType) override;
    uint8 peekItemType() override;

    void readClassEnter(const char*& name, const char*& typeName, const char*& secondTypeName, uint32& value) override;
    void readClassExit() override;
    void readWString(const char*& name, WString& value) override;
    void readBString(const char*& name, String& value) override;
    void readFloat64(const char*& name, double& value) override;
    void readFloat32(const char*& name, float& value) override;
    void readInt64(const char*& name, int64& value) override;
    void readUInt64(const char*& name, uint64& value) override;
    void readInt32(const char*& name, int32& value) override;
    void readUInt32(const char*& name, uint32& value) override;
    void readInt16(const char*& name, int16& value) override;
    void readUInt16(const char*& name, uint16& value) override;
    void readInt08(const char*& name, int8& value) override;
    void readUInt08(const char*& name, uint8& value) override;
    void readBool(const char*& name, bool& value) override;

    void writeClassEnter(const char* name, const char* typeName, const char* secondTypeName, uint32 value) override;
    void writeClassExit() override;
    void writeWString(const char* name, const WString& value) override;
    void writeBString(const char* name, const String& value) override;
    void writeFloat64(const char* name, double value) override;
    void writeFloat32(const char* name, float value) override;
    void writeInt64(const char* name, int64 value) override;
    void writeUInt64(const char* name, uint64 value) override;
    void writeInt32(const char* name, int32 value) override;
    void writeUInt32(const char* name, uint32 value) override;
    void writeInt16(const char* name, int16 value) override;
    void writeUInt16(const char* name, uint16 value) override;
    void writeInt08(const char* name, int8 value) override;
    void writeUInt08(const char* name, uint8 value) override;
    void writeBool(const char* name, bool value) override;

private:
    void requireOpen() const {
        if (!mStream) [[unlikely]]
            throwClosed();
    }
    [[noreturn]] static void throwClosed();
    void attach(IO::Stream* stream) noexcept;
    uint64 bytesLeft() const;
    void setFeatures(uint32 features) noexcept;
    void setByteOrder(Platform::Endian::Endiness endiness) noexcept;

    void writeHeader();
    bool readHeader();
    void readTables(uint64 tablePosition);
    void readTable(NameTable& table, char* scratch);
    void completeFile();
    void writeTable(const NameTable& table);
    void readBytes(void* bytes, uint32 numBytes);
    template <class T>
    T readNumber();
    template <class T>
    void writeNumber(T value);

    // What items are made of.

    const void* readInPlace(uint32 numBytes) noexcept;
    uint32 nameSizeOf(ItemType type) const noexcept { return type == ITEMTYPE_CLASS_EXIT ? 0 : mNameSize; }
    const unsigned char* loadHead(ItemType type, const char*& name, const unsigned char* bytes, uint32 size);
    const unsigned char* readItem(ItemType type, const char*& name, unsigned char* buffer, uint32 payloadSize);
    const unsigned char* copyItem(ItemType type, const char*& name, unsigned char* buffer, uint32 size);
    [[noreturn]] void refuseItem(ItemType type, const unsigned char* bytes, uint64 bytesRead);
    template <class T>
    void readPlain(ItemType type, const char*& name, T& value);
    template <class Unit, class Use>
    void readCharacters(ItemType type, const char*& name, Use use);
    const char* typeNameAt(const unsigned char* bytes) const;
    void skipOne(uint8 itemType, const char*& name);
    void skipCharacters(uint32 numBytes);

    uint32 indexOf(NameTable& table, const char* name);
    uint32 addName(NameTable& table, const char* name);
    unsigned char* storeType(unsigned char* bytes, ItemType type) const noexcept;
    unsigned char* storeHead(unsigned char* bytes, ItemType type, const char* name);
    void writeItem(const unsigned char* bytes, const unsigned char* end);
    template <class T>
    void writePlain(ItemType type, const char* name, T value);

    SerializeMode mMode;
    IO::Stream* mStream = nullptr; ///< null when closed
    /// The stream, if it is one whose bytes can be read where they lie; otherwise null.
    Memory::MemoryStream* mMemoryStream = nullptr;
    Platform::Endian::Endiness mByteOrder;
    NameTable mInstanceNames;
    NameTable mTypeNames;
    uint32 mFeatures;

    // What follows from the byte order and the features, for every item to go by.

    bool mIsSwapped;
    uint8 mTypeSize; ///< in bytes, as stored in front of an item
    uint8 mNameSize;
};

} // namespace Tarq::Common::Serialize
