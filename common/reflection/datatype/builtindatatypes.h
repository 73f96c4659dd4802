#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/string.h"
#include "common/types.h"

#include <limits>
#include <tuple>
#include <type_traits>

/// The built-in types: one list of 21 element types; the 21 containers derive from it.
namespace Tarq::Common::Reflection::Datatype {

/// How an element type's default is written in the list: the value itself, every component of a vector, a text.
template <class T>
struct ElementDefault {
    using Type = T;
    static T make(T value, const Memory::AllocatorPtr&) noexcept { return value; }
};
template <class C>
struct ElementDefault<Math::Vec2<C>> {
    using Type = C;
    static Math::Vec2<C> make(C value, const Memory::AllocatorPtr&) noexcept { return {value, value}; }
};
template <class C>
struct ElementDefault<Math::Vec3<C>> {
    using Type = C;
    static Math::Vec3<C> make(C value, const Memory::AllocatorPtr&) noexcept { return {value, value, value}; }
};
template <class Char>
struct ElementDefault<BasicString<Char>> {
    using Type = const Char*;
    static BasicString<Char> make(const Char* text, const Memory::AllocatorPtr& allocator) {
        return {typename BasicString<Char>::View(text), allocator};
    }
};

/// One type of the list.
template <class T>
struct ElementType {
    using Native = T;

    const char* name;
    typename ElementDefault<T>::Type defaultValue;

    String getName() const { return name; }
    T makeDefault(const Memory::AllocatorPtr& allocator) const {
        return ElementDefault<T>::make(defaultValue, allocator);
    }
};

/// The container of one type of the list.
template <class E>
struct ContainerType {
    using Native = Container::Vector<E>;

    const ElementType<E>& element;

    String getName() const { return String("Container[") + element.name + "]"; }
    Native makeDefault(const Memory::AllocatorPtr& allocator) const { return Native(allocator); }
};

/// In the order of their ids. Hidden, so that it does not keep a module loaded.
TARQ_LOCAL inline constexpr std::tuple cElementTypes{
    ElementType<bool>{"Boolean", false},
    ElementType<int8>{"Integer08", 0},
    ElementType<int16>{"Integer16", 0},
    ElementType<int32>{"Integer32", 0},
    ElementType<int64>{"Integer64", 0},
    ElementType<uint8>{"UnsignedInteger08", 0},
    ElementType<uint16>{"UnsignedInteger16", 0},
    ElementType<uint32>{"UnsignedInteger32", 0},
    ElementType<uint64>{"UnsignedInteger64", 0},
    ElementType<float>{"Float", 0.0F},
    ElementType<double>{"Double", 0.0},
    ElementType<Math::Vec2<float>>{"Vec2f", std::numeric_limits<float>::lowest()},
    ElementType<Math::Vec2<double>>{"Vec2d", std::numeric_limits<double>::lowest()},
    ElementType<Math::Vec2<int32>>{"Vec2i32", -2147483647},
    ElementType<Math::Vec2<uint32>>{"Vec2u32", 0},
    ElementType<Math::Vec3<float>>{"Vec3f", std::numeric_limits<float>::lowest()},
    ElementType<Math::Vec3<double>>{"Vec3d", std::numeric_limits<double>::lowest()},
    ElementType<Math::Vec3<int32>>{"Vec3i32", -2147483647},
    ElementType<Math::Vec3<uint32>>{"Vec3u32", 0},
    ElementType<String>{"String", ""},
    ElementType<WString>{"WString", L""},
};

/// Calls `visit` with the `ElementType` of each element type, in the order of their ids.
template <class Visit>
void forEachElementType(Visit visit) {
    std::apply([&visit](const auto&... element) { (visit(element), ...); }, cElementTypes);
}

/// Calls `visit` with the `ElementType` or `ContainerType` of each built-in type, in the order of their ids.
template <class Visit>
void forEachBuiltinDatatype(Visit visit) {
    forEachElementType([&visit](const auto& element) { visit(element); });
    forEachElementType([&visit]<class E>(const ElementType<E>& element) { visit(ContainerType<E>{element}); });
}

/// The fundamental types; the others are class types.
template <class T>
inline constexpr bool isFundamentalDatatype = std::is_arithmetic_v<T>;

} // namespace Tarq::Common::Reflection::Datatype
