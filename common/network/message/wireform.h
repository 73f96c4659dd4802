#pragma once

#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/platform/endian.h"
#include "common/types.h"

#include <concepts>
#include <cstring>
#include <type_traits>

/// How values of a fixed size stand in messages: big-endian, and vectors component by component.
namespace Tarq::Common::Network::Message {

/// The whole number of the same size. Floating-point numbers are swapped as these: one whose bytes are in the wrong
/// order may not survive being handed around.
template <std::size_t Size>
using WireBits =
    std::conditional_t<Size == 1, uint8,
                       std::conditional_t<Size == 2, uint16, std::conditional_t<Size == 4, uint32, uint64>>>;

inline constexpr bool cIsBigEndian = Platform::Endian::getSystemEncoding() == Platform::Endian::ENDIAN_BIG;

/// Copies a number of `Size` bytes from one order to the other. The places may be the same.
template <std::size_t Size>
void copyBigEndian(void* dst, const void* src) noexcept {
    const auto bits = Platform::loadBigEndian<WireBits<Size>>(src);
    std::memcpy(dst, &bits, Size);
}

/// Numbers and tags.
template <class T>
struct WireForm {
    using Bits = WireBits<sizeof(T)>;
    static constexpr uint32 cComponents = 1;
    static constexpr uint32 cSize = sizeof(T);

    static void store(unsigned char* bytes, const T& value) noexcept { copyBigEndian<sizeof(T)>(bytes, &value); }
    static void load(T& value, const unsigned char* bytes) noexcept { copyBigEndian<sizeof(T)>(&value, bytes); }
};

/// Truth values; every byte but 0 is true.
template <>
struct WireForm<bool> {
    using Bits = uint8;
    static constexpr uint32 cComponents = 1;
    static constexpr uint32 cSize = 1;

    static void store(unsigned char* bytes, bool value) noexcept { *bytes = value ? 1 : 0; }
    static void load(bool& value, const unsigned char* bytes) noexcept { value = *bytes != 0; }
};

template <class Vec>
struct VectorWireForm {
    using Component = WireForm<typename Vec::Component>;
    using Bits = typename Component::Bits;
    static constexpr uint32 cComponents = Vec::cComponents;
    static constexpr uint32 cSize = cComponents * Component::cSize;
    static_assert(sizeof(Vec) == cSize, "containers of vectors are sent as components that lie side by side");

    static void store(unsigned char* bytes, const Vec& value) noexcept {
        for (uint32 at = 0; at < cComponents; ++at)
            Component::store(bytes + at * Component::cSize, value[at]);
    }
    static void load(Vec& value, const unsigned char* bytes) noexcept {
        for (uint32 at = 0; at < cComponents; ++at)
            Component::load(value[at], bytes + at * Component::cSize);
    }
};
template <class C>
struct WireForm<Math::Vec2<C>> : VectorWireForm<Math::Vec2<C>> {};
template <class C>
struct WireForm<Math::Vec3<C>> : VectorWireForm<Math::Vec3<C>> {};

/// Types whose values all have the same size in messages: all but strings and containers.
template <class T>
concept HasFixedWireForm = std::is_arithmetic_v<T> || std::is_enum_v<T> || requires {
    T::cComponents;
};

/// Types of whose values a run lies in memory as in messages, but for the order of the bytes.
template <class T>
concept HasBlockWireForm = HasFixedWireForm<T> && !std::same_as<T, bool>;

} // namespace Tarq::Common::Network::Message
