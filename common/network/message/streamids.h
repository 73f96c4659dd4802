#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/reflection/datatype/builtindatatypes.h"
#include "common/reflection/datatype/datatypeid.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/string.h"
#include "common/types.h"

#include <concepts>
#include <tuple>
#include <type_traits>

/// The types of values in messages, and the tags that stand in front of them.
namespace Tarq::Common::Network::Message {

/// The tag of a value; the numbers are the wire format. A container of a type has that type's number plus 128. A
/// variable of this type may have come from a peer, and then have any value.
enum StreamIDs : uint8 {
    STREAM_TYPE_BOOL = 0,
    STREAM_TYPE_INT08 = 1,
    STREAM_TYPE_INT16 = 2,
    STREAM_TYPE_INT32 = 3,
    STREAM_TYPE_INT64 = 4,
    STREAM_TYPE_UINT08 = 5,
    STREAM_TYPE_UINT16 = 6,
    STREAM_TYPE_UINT32 = 7,
    STREAM_TYPE_UINT64 = 8,
    STREAM_TYPE_FLOAT32 = 9,
    STREAM_TYPE_FLOAT64 = 10,
    STREAM_TYPE_BSTRING = 11,
    STREAM_TYPE_WSTRING = 12,
    STREAM_TYPE_VEC_2_FLOAT32 = 16,
    STREAM_TYPE_VEC_2_FLOAT64 = 17,
    STREAM_TYPE_VEC_2_INT32 = 18,
    STREAM_TYPE_VEC_2_UINT32 = 19,
    STREAM_TYPE_VEC_3_FLOAT32 = 20,
    STREAM_TYPE_VEC_3_FLOAT64 = 21,
    STREAM_TYPE_VEC_3_INT32 = 22,
    STREAM_TYPE_VEC_3_UINT32 = 23,

    STREAM_TYPE_ARRAY_BOOL = 128,
    STREAM_TYPE_ARRAY_INT08 = 129,
    STREAM_TYPE_ARRAY_INT16 = 130,
    STREAM_TYPE_ARRAY_INT32 = 131,
    STREAM_TYPE_ARRAY_INT64 = 132,
    STREAM_TYPE_ARRAY_UINT08 = 133,
    STREAM_TYPE_ARRAY_UINT16 = 134,
    STREAM_TYPE_ARRAY_UINT32 = 135,
    STREAM_TYPE_ARRAY_UINT64 = 136,
    STREAM_TYPE_ARRAY_FLOAT32 = 137,
    STREAM_TYPE_ARRAY_FLOAT64 = 138,
    STREAM_TYPE_ARRAY_BSTRING = 139,
    STREAM_TYPE_ARRAY_WSTRING = 140,
    STREAM_TYPE_ARRAY_VEC_2_FLOAT32 = 144,
    STREAM_TYPE_ARRAY_VEC_2_FLOAT64 = 145,
    STREAM_TYPE_ARRAY_VEC_2_INT32 = 146,
    STREAM_TYPE_ARRAY_VEC_2_UINT32 = 147,
    STREAM_TYPE_ARRAY_VEC_3_FLOAT32 = 148,
    STREAM_TYPE_ARRAY_VEC_3_FLOAT64 = 149,
    STREAM_TYPE_ARRAY_VEC_3_INT32 = 150,
    STREAM_TYPE_ARRAY_VEC_3_UINT32 = 151,
};

/// The tag of one element type, its name in messages, and that of the type's container.
template <class T>
struct StreamType {
    StreamIDs id;
    const char* name;
    const char* arrayName;
};

/// One for each of the built-in element types. Hidden, so that it does not keep a module loaded.
TARQ_LOCAL inline constexpr std::tuple cStreamTypes{
    StreamType<bool>{STREAM_TYPE_BOOL, "STREAM_TYPE_BOOL", "STREAM_TYPE_ARRAY_BOOL"},
    StreamType<int8>{STREAM_TYPE_INT08, "STREAM_TYPE_INT08", "STREAM_TYPE_ARRAY_INT08"},
    StreamType<int16>{STREAM_TYPE_INT16, "STREAM_TYPE_INT16", "STREAM_TYPE_ARRAY_INT16"},
    StreamType<int32>{STREAM_TYPE_INT32, "STREAM_TYPE_INT32", "STREAM_TYPE_ARRAY_INT32"},
    StreamType<int64>{STREAM_TYPE_INT64, "STREAM_TYPE_INT64", "STREAM_TYPE_ARRAY_INT64"},
    StreamType<uint8>{STREAM_TYPE_UINT08, "STREAM_TYPE_UINT08", "STREAM_TYPE_ARRAY_UINT08"},
    StreamType<uint16>{STREAM_TYPE_UINT16, "STREAM_TYPE_UINT16", "STREAM_TYPE_ARRAY_UINT16"},
    StreamType<uint32>{STREAM_TYPE_UINT32, "STREAM_TYPE_UINT32", "STREAM_TYPE_ARRAY_UINT32"},
    StreamType<uint64>{STREAM_TYPE_UINT64, "STREAM_TYPE_UINT64", "STREAM_TYPE_ARRAY_UINT64"},
    StreamType<float>{STREAM_TYPE_FLOAT32, "STREAM_TYPE_FLOAT32", "STREAM_TYPE_ARRAY_FLOAT32"},
    StreamType<double>{STREAM_TYPE_FLOAT64, "STREAM_TYPE_FLOAT64", "STREAM_TYPE_ARRAY_FLOAT64"},
    StreamType<String>{STREAM_TYPE_BSTRING, "STREAM_TYPE_BSTRING", "STREAM_TYPE_ARRAY_BSTRING"},
    StreamType<WString>{STREAM_TYPE_WSTRING, "STREAM_TYPE_WSTRING", "STREAM_TYPE_ARRAY_WSTRING"},
    StreamType<Math::Vec2<float>>{STREAM_TYPE_VEC_2_FLOAT32, "STREAM_TYPE_VEC_2_FLOAT32",
                                  "STREAM_TYPE_ARRAY_VEC_2_FLOAT32"},
    StreamType<Math::Vec2<double>>{STREAM_TYPE_VEC_2_FLOAT64, "STREAM_TYPE_VEC_2_FLOAT64",
                                   "STREAM_TYPE_ARRAY_VEC_2_FLOAT64"},
    StreamType<Math::Vec2<int32>>{STREAM_TYPE_VEC_2_INT32, "STREAM_TYPE_VEC_2_INT32", "STREAM_TYPE_ARRAY_VEC_2_INT32"},
    StreamType<Math::Vec2<uint32>>{STREAM_TYPE_VEC_2_UINT32, "STREAM_TYPE_VEC_2_UINT32",
                                   "STREAM_TYPE_ARRAY_VEC_2_UINT32"},
    StreamType<Math::Vec3<float>>{STREAM_TYPE_VEC_3_FLOAT32, "STREAM_TYPE_VEC_3_FLOAT32",
                                  "STREAM_TYPE_ARRAY_VEC_3_FLOAT32"},
    StreamType<Math::Vec3<double>>{STREAM_TYPE_VEC_3_FLOAT64, "STREAM_TYPE_VEC_3_FLOAT64",
                                   "STREAM_TYPE_ARRAY_VEC_3_FLOAT64"},
    StreamType<Math::Vec3<int32>>{STREAM_TYPE_VEC_3_INT32, "STREAM_TYPE_VEC_3_INT32", "STREAM_TYPE_ARRAY_VEC_3_INT32"},
    StreamType<Math::Vec3<uint32>>{STREAM_TYPE_VEC_3_UINT32, "STREAM_TYPE_VEC_3_UINT32",
                                   "STREAM_TYPE_ARRAY_VEC_3_UINT32"},
};

/// Whether one of these tags is that of T itself.
template <class T, class... E>
consteval bool isStreamTypeAmong(const std::tuple<StreamType<E>...>&) {
    return (std::same_as<T, E> || ...);
}
/// Whether there is a tag for each of these types, and for no other.
template <class... E>
consteval bool areStreamTypes(const std::tuple<Reflection::Datatype::ElementType<E>...>&) {
    return sizeof...(E) == std::tuple_size_v<decltype(cStreamTypes)> && (isStreamTypeAmong<E>(cStreamTypes) && ...);
}
static_assert(areStreamTypes(Reflection::Datatype::cElementTypes));

/// The type that a value is sent as: of whole numbers the one of that size and sign; a tag is sent as its number.
template <class T>
using SentType = std::conditional_t<std::same_as<T, StreamIDs>, uint8, Reflection::Datatype::NativeType<T>>;

/// Types whose values stand in messages by themselves.
template <class T>
concept StreamElement = isStreamTypeAmong<SentType<T>>(cStreamTypes);

/// What the containers in messages are.
template <class T>
struct StreamContainer : std::false_type {};
template <StreamElement E>
struct StreamContainer<Container::Vector<E>> : std::true_type {};

/// Types whose values stand in messages: the built-in ones.
template <class T>
concept StreamValue = StreamElement<T> || StreamContainer<T>::value;

/// The tag of a container of that type.
constexpr StreamIDs arrayOf(StreamIDs element) noexcept {
    return static_cast<StreamIDs>(element + STREAM_TYPE_ARRAY_BOOL);
}

/// The tag of a value of type T.
template <StreamValue T>
constexpr StreamIDs getStreamID() noexcept {
    if constexpr (StreamContainer<T>::value)
        return arrayOf(getStreamID<typename T::value_type>());
    else
        return std::get<StreamType<SentType<T>>>(cStreamTypes).id;
}

/// The name of the enumerator; null for a number that names no type.
TARQ_API const char* getStreamIDName(StreamIDs id) noexcept;

/// Finds the tag of a built-in data type. Asserts that it is one, and that it is registered; returns false, and leaves
/// `out` alone, otherwise.
TARQ_API bool getStreamIDFromDatatypeID(StreamIDs& out, Reflection::Datatype::DatatypeID type);

} // namespace Tarq::Common::Network::Message
