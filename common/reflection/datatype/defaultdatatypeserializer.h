#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/export.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/reflection/datatype/datatypebase.h"
#include "common/serialize/serializestorage.h"
#include "common/string.h"
#include "common/types.h"

#include <concepts>
#include <type_traits>
#include <utility>

namespace Tarq::Common::Reflection::Datatype {

/// How values of T are stored: as a sequence of named items, read back in the order in which they were written.
///
///     template <>
///     class DatatypeSerializer<Colour> {
///     public:
///         static void readValue(Serialize::SerializeStorage* storage, Colour& value);
///         static void writeValue(Serialize::SerializeStorage* storage, const Colour& value);
///     };
///
/// The storage is never null. The serializers below assert that an item has the expected name; its value is taken all
/// the same. What the storage throws passes on, and so does exhausted memory; the value to be read is then what it was.
template <class T>
class DatatypeSerializer;

/// The name under which an item is stored, and the condition that reports show when another one is found.
struct SerializedItem {
    const char* name;
    const char* condition;
    /// What the item is a part of.
    const char* object;
};

/// Asserts that the item has the expected name. A storage without names, which hands out null, is content.
TARQ_API void checkSerializedItem(const char* foundName, const SerializedItem& expected);

/// The items that values are stored as. Its constants are hidden, so that they do not keep a module loaded.
namespace Items {

using Storage = Serialize::SerializeStorage;

TARQ_LOCAL inline constexpr SerializedItem cValue{"value", "!strcmp(_name,\"value\")", "GenericValue"};
/// Tools see one object for vectors of all kinds; do not correct it.
TARQ_LOCAL inline constexpr SerializedItem cComponents[] = {{"x", "!strcmp(_name,\"x\")", "Vec2fValue"},
                                                            {"y", "!strcmp(_name,\"y\")", "Vec2fValue"},
                                                            {"z", "!strcmp(_name,\"z\")", "Vec2fValue"}};
TARQ_LOCAL inline constexpr SerializedItem cCount{"count", "!strcmp(_name,\"count\")", "Vector"};

/// The operations of the storage for one of its own types.
template <class T>
struct Access {
    using Argument = std::conditional_t<std::is_arithmetic_v<T>, T, const T&>;

    void (Storage::*readItem)(const char*& name, T& value);
    void (Storage::*writeItem)(const char* name, Argument value);

    void read(Storage* storage, const SerializedItem& item, T& value) const {
        const char* name = nullptr;
        (storage->*readItem)(name, value);
        checkSerializedItem(name, item);
    }
    void write(Storage* storage, const SerializedItem& item, const T& value) const {
        (storage->*writeItem)(item.name, value);
    }
};

struct NoAccess {};

/// For each type that the storage has an item of its own for.
template <class T>
TARQ_LOCAL inline constexpr NoAccess cAccess;
template <>
TARQ_LOCAL inline constexpr Access<bool> cAccess<bool>{&Storage::readBool, &Storage::writeBool};
template <>
TARQ_LOCAL inline constexpr Access<int8> cAccess<int8>{&Storage::readInt08, &Storage::writeInt08};
template <>
TARQ_LOCAL inline constexpr Access<int16> cAccess<int16>{&Storage::readInt16, &Storage::writeInt16};
template <>
TARQ_LOCAL inline constexpr Access<int32> cAccess<int32>{&Storage::readInt32, &Storage::writeInt32};
template <>
TARQ_LOCAL inline constexpr Access<int64> cAccess<int64>{&Storage::readInt64, &Storage::writeInt64};
template <>
TARQ_LOCAL inline constexpr Access<uint8> cAccess<uint8>{&Storage::readUInt08, &Storage::writeUInt08};
template <>
TARQ_LOCAL inline constexpr Access<uint16> cAccess<uint16>{&Storage::readUInt16, &Storage::writeUInt16};
template <>
TARQ_LOCAL inline constexpr Access<uint32> cAccess<uint32>{&Storage::readUInt32, &Storage::writeUInt32};
template <>
TARQ_LOCAL inline constexpr Access<uint64> cAccess<uint64>{&Storage::readUInt64, &Storage::writeUInt64};
template <>
TARQ_LOCAL inline constexpr Access<float> cAccess<float>{&Storage::readFloat32, &Storage::writeFloat32};
template <>
TARQ_LOCAL inline constexpr Access<double> cAccess<double>{&Storage::readFloat64, &Storage::writeFloat64};
template <>
TARQ_LOCAL inline constexpr Access<String> cAccess<String>{&Storage::readBString, &Storage::writeBString};
template <>
TARQ_LOCAL inline constexpr Access<WString> cAccess<WString>{&Storage::readWString, &Storage::writeWString};

} // namespace Items

template <class T>
concept SerializedAsOneItem = requires {
    { Items::cAccess<T> } -> std::convertible_to<Items::Access<T>>;
};

/// One item "value".
template <SerializedAsOneItem T>
class DatatypeSerializer<T> {
public:
    static void readValue(Serialize::SerializeStorage* storage, T& value) {
        Items::cAccess<T>.read(storage, Items::cValue, value);
    }
    static void writeValue(Serialize::SerializeStorage* storage, const T& value) {
        Items::cAccess<T>.write(storage, Items::cValue, value);
    }
};

/// "x", "y" and, where there is one, "z".
template <class Vec>
class VectorSerializer {
public:
    static void readValue(Serialize::SerializeStorage* storage, Vec& value) {
        Vec read;
        for (uint32 index = 0; index < Vec::cComponents; ++index)
            Items::cAccess<typename Vec::Component>.read(storage, Items::cComponents[index], read[index]);
        value = read;
    }
    static void writeValue(Serialize::SerializeStorage* storage, const Vec& value) {
        for (uint32 index = 0; index < Vec::cComponents; ++index)
            Items::cAccess<typename Vec::Component>.write(storage, Items::cComponents[index], value[index]);
    }
};
template <SerializedAsOneItem C>
class DatatypeSerializer<Math::Vec2<C>> : public VectorSerializer<Math::Vec2<C>> {};
template <SerializedAsOneItem C>
class DatatypeSerializer<Math::Vec3<C>> : public VectorSerializer<Math::Vec3<C>> {};

/// Types that can be stored.
template <class T>
concept HasDatatypeSerializer = requires {
    sizeof(DatatypeSerializer<T>);
};
/// Those of which reading a container can make elements.
template <class E>
concept SerializedElement = HasDatatypeSerializer<E> &&
    (std::is_constructible_v<E, const Memory::AllocatorPtr&> || std::is_default_constructible_v<E>);

/// "count", an uint32, and then each element's items. The elements read are appended to those that the container has;
/// when one of them fails, all that were appended go again. The count alone takes no memory.
template <SerializedElement E>
class DatatypeSerializer<Container::Vector<E>> {
public:
    /// Throws `std::length_error` when the container would become too long.
    static void readValue(Serialize::SerializeStorage* storage, Container::Vector<E>& value) {
        uint32 count = 0;
        Items::cAccess<uint32>.read(storage, Items::cCount, count);
        const uint32 oldSize = value.size();
        try {
            for (; count != 0; --count) {
                E element = makeElement(value.getAllocator());
                DatatypeSerializer<E>::readValue(storage, element);
                value.push_back(std::move(element));
            }
        } catch (...) {
            while (value.size() != oldSize)
                value.pop_back();
            throw;
        }
    }
    static void writeValue(Serialize::SerializeStorage* storage, const Container::Vector<E>& value) {
        Items::cAccess<uint32>.write(storage, Items::cCount, value.size());
        for (uint32 index = 0; index < value.size(); ++index)
            DatatypeSerializer<E>::writeValue(storage, value[index]);
    }

private:
    static E makeElement(const Memory::AllocatorPtr& allocator) {
        if constexpr (std::is_constructible_v<E, const Memory::AllocatorPtr&>)
            return E(allocator);
        else
            return E();
    }
};

} // namespace Tarq::Common::Reflection::Datatype
