#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/export.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/memory/allocatorptr.h"
#include "common/string.h"
#include "common/types.h"

#include <string_view>
#include <type_traits>

/// How the built-in types are written as text.
///
///     bool                        "1" and "true", in any case, are true; all else is false
///     whole numbers               as `atoi` reads them: white space, a sign, decimal digits; what does not fit into 64
///                                 bits stops at their limits, and the value keeps the low bits of that. An unsigned
///                                 number has the bits of the signed one.
///     float, double               as `atof` reads them, a float through a double
///     vectors                     as `sscanf` reads them: "1 2 3", "(1,2,3)" or "(1/2/3)", whichever gives most of the
///                                 components; the others are 0. An int32 in a vector may be octal, "010", or
///                                 hexadecimal, "0x10".
///     String                      as it stands
///     WString                     each byte on its own: what the C library's current locale makes of it, or its value
///     containers                  "{a;b;c;d}": empty elements are left out, blanks belong to their element
///     containers of strings       {"a";"b"}: elements end at a quote, semicolon, quote; empty ones count
///
/// The empty text is an empty container; wide strings have no container form. A text without any number is 0. But for
/// wide strings, the process locale is of no concern.
namespace Tarq::Common::Reflection::Datatype {

/// Containers of wide strings are not written as text.
template <class T>
concept HasListForm = !std::is_same_v<T, WString>;

/// Makes values of one element type, and containers of them, from text. Threads: any.
template <class T>
struct TextForm {
    /// The value itself; memory that it holds is of `allocator`. Throws `OutOfMemoryException`, and for a text that is
    /// longer than a string can be, `std::length_error`.
    static T convert(std::string_view text, const Memory::AllocatorPtr& allocator);

    /// A new value in memory of `allocator`, which goes back through the type's `deleteValue`. Null when there is none.
    static T* parse(const String& text, const Memory::AllocatorPtr& allocator);

    /// The same for a container. Asserts that the braces are there, and the quotes of strings; it is empty otherwise.
    static Container::Vector<T>* parseList(const String& text,
                                           const Memory::AllocatorPtr& allocator) requires HasListForm<T>;
};

/// Exported one by one: a template is as hidden as what it is made for.
extern template struct TARQ_API TextForm<bool>;
extern template struct TARQ_API TextForm<int8>;
extern template struct TARQ_API TextForm<int16>;
extern template struct TARQ_API TextForm<int32>;
extern template struct TARQ_API TextForm<int64>;
extern template struct TARQ_API TextForm<uint8>;
extern template struct TARQ_API TextForm<uint16>;
extern template struct TARQ_API TextForm<uint32>;
extern template struct TARQ_API TextForm<uint64>;
extern template struct TARQ_API TextForm<float>;
extern template struct TARQ_API TextForm<double>;
extern template struct TARQ_API TextForm<Math::Vec2<float>>;
extern template struct TARQ_API TextForm<Math::Vec2<double>>;
extern template struct TARQ_API TextForm<Math::Vec2<int32>>;
extern template struct TARQ_API TextForm<Math::Vec2<uint32>>;
extern template struct TARQ_API TextForm<Math::Vec3<float>>;
extern template struct TARQ_API TextForm<Math::Vec3<double>>;
extern template struct TARQ_API TextForm<Math::Vec3<int32>>;
extern template struct TARQ_API TextForm<Math::Vec3<uint32>>;
extern template struct TARQ_API TextForm<String>;
extern template struct TARQ_API TextForm<WString>;

inline constexpr auto& stringToBool = TextForm<bool>::parse;
inline constexpr auto& stringToInt08 = TextForm<int8>::parse;
inline constexpr auto& stringToInt16 = TextForm<int16>::parse;
inline constexpr auto& stringToInt32 = TextForm<int32>::parse;
inline constexpr auto& stringToInt64 = TextForm<int64>::parse;
inline constexpr auto& stringToFloat32 = TextForm<float>::parse;
inline constexpr auto& stringToFloat64 = TextForm<double>::parse;
inline constexpr auto& stringToVec2f = TextForm<Math::Vec2<float>>::parse;
inline constexpr auto& stringToVec2d = TextForm<Math::Vec2<double>>::parse;
inline constexpr auto& stringToVec2i32 = TextForm<Math::Vec2<int32>>::parse;
inline constexpr auto& stringToVec2u32 = TextForm<Math::Vec2<uint32>>::parse;
inline constexpr auto& stringToVec3f = TextForm<Math::Vec3<float>>::parse;
inline constexpr auto& stringToVec3d = TextForm<Math::Vec3<double>>::parse;
inline constexpr auto& stringToVec3i32 = TextForm<Math::Vec3<int32>>::parse;
inline constexpr auto& stringToVec3u32 = TextForm<Math::Vec3<uint32>>::parse;
inline constexpr auto& stringToString = TextForm<String>::parse;
inline constexpr auto& stringToWString = TextForm<WString>::parse;

inline constexpr auto& stringToVectorBool = TextForm<bool>::parseList;
inline constexpr auto& stringToVectorInt08 = TextForm<int8>::parseList;
inline constexpr auto& stringToVectorInt16 = TextForm<int16>::parseList;
inline constexpr auto& stringToVectorInt32 = TextForm<int32>::parseList;
inline constexpr auto& stringToVectorInt64 = TextForm<int64>::parseList;
inline constexpr auto& stringToVectorUInt08 = TextForm<uint8>::parseList;
inline constexpr auto& stringToVectorUInt16 = TextForm<uint16>::parseList;
inline constexpr auto& stringToVectorUInt32 = TextForm<uint32>::parseList;
inline constexpr auto& stringToVectorUInt64 = TextForm<uint64>::parseList;
inline constexpr auto& stringToVectorFloat32 = TextForm<float>::parseList;
inline constexpr auto& stringToVectorFloat64 = TextForm<double>::parseList;
inline constexpr auto& stringToVectorVec2f = TextForm<Math::Vec2<float>>::parseList;
inline constexpr auto& stringToVectorVec2d = TextForm<Math::Vec2<double>>::parseList;
inline constexpr auto& stringToVectorVec2i32 = TextForm<Math::Vec2<int32>>::parseList;
inline constexpr auto& stringToVectorVec2u32 = TextForm<Math::Vec2<uint32>>::parseList;
inline constexpr auto& stringToVectorVec3f = TextForm<Math::Vec3<float>>::parseList;
inline constexpr auto& stringToVectorVec3d = TextForm<Math::Vec3<double>>::parseList;
inline constexpr auto& stringToVectorVec3i32 = TextForm<Math::Vec3<int32>>::parseList;
inline constexpr auto& stringToVectorVec3u32 = TextForm<Math::Vec3<uint32>>::parseList;
inline constexpr auto& stringToVectorString = TextForm<String>::parseList;

} // namespace Tarq::Common::Reflection::Datatype
