#pragma once

#include "common/debugger/model/elementid.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"
#include "common/network/message/streamids.h"
#include "common/reflection/datatype/datatypeid.h"
#include "common/string.h"
#include "common/types.h"

namespace Tarq::Common::Debugger {

class ObjectType;

/// What an object type declares of one variable of its instances: name, type, and whether a tool may write it.
///
/// Threads: reading on any; the ID is set before another thread knows of it. Ownership: the object type's.
class TARQ_API VariableType : public Memory::MemoryManaged {
public:
    ~VariableType() override;

    /// The data type of the values. Asserts that it is registered; no type otherwise.
    virtual Reflection::Datatype::DatatypeID getDatatypeID() const = 0;

    /// Reads one value, with its tag, into the variable at `location`. False, and the variable keeps what it has, when
    /// the message does not hold exactly such a value up to its end. Throws nothing; asserts what the reader asserts.
    virtual bool read(void* location, Network::Message::MessageReader& reader) const = 0;
    /// Writes the value of the variable at `location`. What the builder throws passes on.
    virtual void write(const void* location, Network::Message::MessageBuilder& builder) const = 0;

    /// Makes the variable type for values of that wire type, in memory of `allocator`; the caller owns it. `index` is
    /// its place in the owner's list.
    ///
    /// Asserts "variable type not supported yet: (" and the number when this names no type; null then. Throws
    /// `OutOfMemoryException`.
    static VariableType* createVariableType(const Memory::AllocatorPtr& allocator, Network::Message::StreamIDs type,
                                            const String& name, bool isWritable, ObjectType* owner, uint32 index);

    const String& getName() const noexcept { return mName; }
    /// Unique within the module; the invalid ID as long as none is set.
    uint32 getID() const noexcept { return mID.get(); }
    /// Once. See `ElementID::set`.
    bool setID(uint32 id) { return mID.set(id); }
    Network::Message::StreamIDs getType() const noexcept { return mType; }
    /// Whether tools may write it.
    bool isWritable() const noexcept { return mIsWritable; }
    ObjectType* getObjectType() const noexcept { return mObjectType; }
    /// The place in the object type's list.
    uint32 getIndex() const noexcept { return mIndex; }

protected:
    VariableType(Network::Message::StreamIDs type, const String& name, bool isWritable, ObjectType* owner,
                 uint32 index);

private:
    String mName;
    ObjectType* mObjectType;
    ElementID mID{"VariableType"};
    uint32 mIndex;
    Network::Message::StreamIDs mType;
    bool mIsWritable;
};

/// The variable type of values of type T. `createVariableType` makes them.
template <Network::Message::StreamValue T>
class TypedVariableType final : public VariableType {
public:
    using Value = T;

    Reflection::Datatype::DatatypeID getDatatypeID() const override;
    bool read(void* location, Network::Message::MessageReader& reader) const override;
    void write(const void* location, Network::Message::MessageBuilder& builder) const override;

private:
    friend class VariableType;

    TypedVariableType(const String& name, bool isWritable, ObjectType* owner, uint32 index);
};

using VariableTypeBool = TypedVariableType<bool>;
using VariableTypeInt08 = TypedVariableType<int8>;
using VariableTypeInt16 = TypedVariableType<int16>;
using VariableTypeInt32 = TypedVariableType<int32>;
using VariableTypeInt64 = TypedVariableType<int64>;
using VariableTypeUint08 = TypedVariableType<uint8>;
using VariableTypeUint16 = TypedVariableType<uint16>;
using VariableTypeUint32 = TypedVariableType<uint32>;
using VariableTypeUint64 = TypedVariableType<uint64>;
using VariableTypeFloat32 = TypedVariableType<float>;
using VariableTypeFloat64 = TypedVariableType<double>;
using VariableTypeBString = TypedVariableType<String>;
using VariableTypeWString = TypedVariableType<WString>;
using VariableTypeVec2f = TypedVariableType<Math::Vec2<float>>;
using VariableTypeVec2d = TypedVariableType<Math::Vec2<double>>;
using VariableTypeVec2i32 = TypedVariableType<Math::Vec2<int32>>;
using VariableTypeVec2u32 = TypedVariableType<Math::Vec2<uint32>>;
using VariableTypeVec3f = TypedVariableType<Math::Vec3<float>>;
using VariableTypeVec3d = TypedVariableType<Math::Vec3<double>>;
using VariableTypeVec3i32 = TypedVariableType<Math::Vec3<int32>>;
using VariableTypeVec3u32 = TypedVariableType<Math::Vec3<uint32>>;

using VariableTypeArrayBool = TypedVariableType<Container::Vector<bool>>;
using VariableTypeArrayInt08 = TypedVariableType<Container::Vector<int8>>;
using VariableTypeArrayInt16 = TypedVariableType<Container::Vector<int16>>;
using VariableTypeArrayInt32 = TypedVariableType<Container::Vector<int32>>;
using VariableTypeArrayInt64 = TypedVariableType<Container::Vector<int64>>;
using VariableTypeArrayUint08 = TypedVariableType<Container::Vector<uint8>>;
using VariableTypeArrayUint16 = TypedVariableType<Container::Vector<uint16>>;
using VariableTypeArrayUint32 = TypedVariableType<Container::Vector<uint32>>;
using VariableTypeArrayUint64 = TypedVariableType<Container::Vector<uint64>>;
using VariableTypeArrayFloat32 = TypedVariableType<Container::Vector<float>>;
using VariableTypeArrayFloat64 = TypedVariableType<Container::Vector<double>>;
using VariableTypeArrayBString = TypedVariableType<Container::Vector<String>>;
using VariableTypeArrayWString = TypedVariableType<Container::Vector<WString>>;
using VariableTypeArrayVec2f = TypedVariableType<Container::Vector<Math::Vec2<float>>>;
using VariableTypeArrayVec2d = TypedVariableType<Container::Vector<Math::Vec2<double>>>;
using VariableTypeArrayVec2i32 = TypedVariableType<Container::Vector<Math::Vec2<int32>>>;
using VariableTypeArrayVec2u32 = TypedVariableType<Container::Vector<Math::Vec2<uint32>>>;
using VariableTypeArrayVec3f = TypedVariableType<Container::Vector<Math::Vec3<float>>>;
using VariableTypeArrayVec3d = TypedVariableType<Container::Vector<Math::Vec3<double>>>;
using VariableTypeArrayVec3i32 = TypedVariableType<Container::Vector<Math::Vec3<int32>>>;
using VariableTypeArrayVec3u32 = TypedVariableType<Container::Vector<Math::Vec3<uint32>>>;

} // namespace Tarq::Common::Debugger
