#pragma once

#include "common/types.h"

namespace Tarq::Common::Math {

/// Two components; arithmetic is component by component, comparison for equality too.
///
/// Where `T` is a signed whole number, overflow is the caller's to avoid; where it is any whole number, so is division
/// by zero.
template <class T>
struct Vec2 {
    using Component = T;
    static constexpr uint32 cComponents = 2;

    T mX{};
    T mY{};

    /// 0 is `mX`; any other index is `mY`.
    constexpr T& operator[](uint32 index) noexcept { return index == 0 ? mX : mY; }
    constexpr const T& operator[](uint32 index) const noexcept { return index == 0 ? mX : mY; }

    constexpr Vec2 operator-() const noexcept { return {static_cast<T>(-mX), static_cast<T>(-mY)}; }
    constexpr Vec2& operator+=(const Vec2& other) noexcept { return *this = *this + other; }
    constexpr Vec2& operator-=(const Vec2& other) noexcept { return *this = *this - other; }
    constexpr Vec2& operator*=(const Vec2& other) noexcept { return *this = *this * other; }
    constexpr Vec2& operator/=(const Vec2& other) noexcept { return *this = *this / other; }
    constexpr Vec2& operator*=(T factor) noexcept { return *this = *this * factor; }
    constexpr Vec2& operator/=(T divisor) noexcept { return *this = *this / divisor; }

    friend constexpr bool operator==(const Vec2&, const Vec2&) = default;
    friend constexpr Vec2 operator+(const Vec2& a, const Vec2& b) noexcept { return {a.mX + b.mX, a.mY + b.mY}; }
    friend constexpr Vec2 operator-(const Vec2& a, const Vec2& b) noexcept { return {a.mX - b.mX, a.mY - b.mY}; }
    friend constexpr Vec2 operator*(const Vec2& a, const Vec2& b) noexcept { return {a.mX * b.mX, a.mY * b.mY}; }
    friend constexpr Vec2 operator/(const Vec2& a, const Vec2& b) noexcept { return {a.mX / b.mX, a.mY / b.mY}; }
    friend constexpr Vec2 operator*(const Vec2& a, T factor) noexcept { return {a.mX * factor, a.mY * factor}; }
    friend constexpr Vec2 operator*(T factor, const Vec2& a) noexcept { return a * factor; }
    friend constexpr Vec2 operator/(const Vec2& a, T divisor) noexcept { return {a.mX / divisor, a.mY / divisor}; }
};

using Vec2f = Vec2<float>;
using Vec2d = Vec2<double>;
using Vec2i = Vec2<int32>;
using Vec2u = Vec2<uint32>;

template <class T>
constexpr T dot(const Vec2<T>& a, const Vec2<T>& b) noexcept {
    return a.mX * b.mX + a.mY * b.mY;
}

} // namespace Tarq::Common::Math
