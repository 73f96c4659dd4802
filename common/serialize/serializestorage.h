#pragma once

#include "common/export.h"
#include "common/io/stream.h"
#include "common/memory/memorymanaged.h"
#include "common/sharedptr.h"
#include "common/string.h"

namespace Tarq::Common::Serialize {

/// Typed values and nested objects, written to a stream and read back: a sequence of named items, and of class brackets
/// that open and close an object.
///
///     storage.open(&stream);
///     storage.writeClassEnter("player", "Entity", "", 1);
///     storage.writeInt32("health", 75);
///     storage.writeClassExit();
///     storage.close();
///
/// What is written in some order is read in the same one; `peekItemType` and `skipItem` deal with what is not known.
///
/// Names: a null name is the empty one. A name that a read hands out stays valid until the storage is destroyed; it is
/// null when the stream carries no names of items, and untouched when the read fails.
/// Failures: on a storage that is not open every operation but `open` and `close` throws `InvalidStateException`. Reads
/// throw `TypeMismatchException` for an item of another type, and `SerializeException` for data that cannot be right;
/// the value keeps what it was then. What the stream throws passes on unchanged.
/// Threads: a storage carries no lock; one thread uses it at a time.
/// Ownership: the stream is not owned, and lives until the storage is closed.
/// States: constructed, open, closed; a closed storage can be opened anew.
class TARQ_API SerializeStorage : public Memory::MemoryManaged {
public:
    /// Every value other than `SMODE_OUTPUT` reads.
    enum SerializeMode : int32 { SMODE_INPUT = 0, SMODE_OUTPUT = 1 };

    /// What an item is. The values stand in files; keep them.
    enum ItemType : uint8 {
        ITEMTYPE_BOOL = 1,
        ITEMTYPE_UINT08 = 2,
        ITEMTYPE_INT08 = 3,
        ITEMTYPE_UINT16 = 4,
        ITEMTYPE_INT16 = 5,
        ITEMTYPE_UINT32 = 6,
        ITEMTYPE_INT32 = 7,
        ITEMTYPE_UINT64 = 8,
        ITEMTYPE_INT64 = 9,
        ITEMTYPE_FLOAT32 = 10,
        ITEMTYPE_FLOAT64 = 11,
        ITEMTYPE_BSTRING = 12,
        ITEMTYPE_WSTRING = 13,
        ITEMTYPE_CLASS_ENTER = 14,
        ITEMTYPE_CLASS_EXIT = 15,
    };

    class Position;
    using PositionPtr = SharedPtr<Position, SimpleReferenceCount, StandartObjectPolicy>;

    /// A place in a storage to come back to.
    class TARQ_API Position : public Memory::MemoryManaged {
    public:
        ~Position() override;
        /// False for null, and for a position of another kind of storage.
        virtual bool equals(const PositionPtr& other) const = 0;

    protected:
        Position() = default;
    };

    ~SerializeStorage() override;

    /// The place of the next item. It outlives the storage, but not the library: its bytes come from the storage's
    /// allocator.
    virtual PositionPtr getPosition() const = 0;
    /// Throws `ArgumentNullException`, or `ArgumentException` for a position of another kind of storage. That it was
    /// taken in the stream that is attached now is not checked.
    virtual void setPosition(const PositionPtr& position) = 0;

    /// Attaches the stream. Returns false, and logs why, when the stream is not fit for it; whenever that is so, or the
    /// call throws, the storage is closed. An open storage is closed first.
    virtual bool open(IO::Stream* stream) = 0;
    /// Completes what was written and lets go of the stream, which is neither closed nor flushed: also when that fails.
    /// What completes it goes to the present position, over what is there: who went back to items that were written
    /// goes on to their end first. The stream then stands at its end. A closed storage is closed once more without
    /// effect.
    virtual void close() = 0;

    /// Reads the next item, a class with everything up to its end, and hands out its type and name; the name of a class
    /// and of a class's end is the empty string. Of an item of unknown type nothing is read, and the name is null.
    ///
    /// Throws `SerializeException` for an unknown type inside a class, and at the end of the stream. Without types in
    /// the stream it asserts, reads nothing and hands out type 0; a loop has to stop there, as at every unknown type.
    virtual void skipItem(const char*& name, uint32& itemType) = 0;
    /// The type of the next item, which stays the next one. Throws `SerializeException` at the end of the stream.
    /// Asserts that the stream carries types; otherwise returns 0.
    virtual uint8 peekItemType() = 0;

    /// What the two type names and the value mean is up to those who write and read the object.
    virtual void readClassEnter(const char*& name, const char*& typeName, const char*& secondTypeName,
                                uint32& value) = 0;
    virtual void readClassExit() = 0;
    virtual void readWString(const char*& name, WString& value) = 0;
    virtual void readBString(const char*& name, String& value) = 0;
    virtual void readFloat64(const char*& name, double& value) = 0;
    virtual void readFloat32(const char*& name, float& value) = 0;
    virtual void readInt64(const char*& name, int64& value) = 0;
    virtual void readUInt64(const char*& name, uint64& value) = 0;
    virtual void readInt32(const char*& name, int32& value) = 0;
    virtual void readUInt32(const char*& name, uint32& value) = 0;
    virtual void readInt16(const char*& name, int16& value) = 0;
    virtual void readUInt16(const char*& name, uint16& value) = 0;
    virtual void readInt08(const char*& name, int8& value) = 0;
    virtual void readUInt08(const char*& name, uint8& value) = 0;
    virtual void readBool(const char*& name, bool& value) = 0;

    // Every write throws `SerializeException` for a name or a string that is too long for the storage, and in a storage
    // that reads also for a name that the stream does not know. Nothing is written then, and no name is kept.

    virtual void writeClassEnter(const char* name, const char* typeName, const char* secondTypeName, uint32 value) = 0;
    virtual void writeClassExit() = 0;
    virtual void writeWString(const char* name, const WString& value) = 0;
    virtual void writeBString(const char* name, const String& value) = 0;
    virtual void writeFloat64(const char* name, double value) = 0;
    virtual void writeFloat32(const char* name, float value) = 0;
    virtual void writeInt64(const char* name, int64 value) = 0;
    virtual void writeUInt64(const char* name, uint64 value) = 0;
    virtual void writeInt32(const char* name, int32 value) = 0;
    virtual void writeUInt32(const char* name, uint32 value) = 0;
    virtual void writeInt16(const char* name, int16 value) = 0;
    virtual void writeUInt16(const char* name, uint16 value) = 0;
    virtual void writeInt08(const char* name, int8 value) = 0;
    virtual void writeUInt08(const char* name, uint8 value) = 0;
    virtual void writeBool(const char* name, bool value) = 0;

    /// What messages call a type, "int32" for example; null for what is no `ItemType`.
    static const char* getItemTypeName(uint32 itemType) noexcept;

protected:
    SerializeStorage() = default;
};

} // namespace Tarq::Common::Serialize
