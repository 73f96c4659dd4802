#pragma once

#include "common/types.h"

namespace Tarq::Common::Math {

/// Three components; arithmetic is component by component, comparison for equality too.
///
/// Where `T` is a signed whole number, overflow is the caller's to avoid; where it is any whole number, so is division
/// by zero.
template <class T>
struct Vec3 {
    using Component = T;
    static constexpr uint32 cComponents = 3;

    T mX{};
    T mY{};
    T mZ{};

    /// 0 is `mX`, 1 is `mY`; any other index is `mZ`.
    constexpr T& operator[](uint32 index) noexcept { return index == 0 ? mX : index == 1 ? mY : mZ; }
    constexpr const T& operator[](uint32 index) const noexcept { return index == 0 ? mX : index == 1 ? mY : mZ; }

    constexpr Vec3 operator-() const noexcept {
        return {static_cast<T>(-mX), static_cast<T>(-mY), static_cast<T>(-mZ)};
    }
    constexpr Vec3& operator+=(const Vec3& other) noexcept { return *this = *this + other; }
    constexpr Vec3& operator-=(const Vec3& other) noexcept { return *this = *this - other; }
    constexpr Vec3& operator*=(const Vec3& other) noexcept { return *this = *this * other; }
    constexpr Vec3& operator/=(const Vec3& other) noexcept { return *this = *this / other; }
    constexpr Vec3& operator*=(T factor) noexcept { return *this = *this * factor; }
    constexpr Vec3& operator/=(T divisor) noexcept { return *this = *this / divisor; }

    friend constexpr bool operator==(const Vec3&, const Vec3&) = default;
    friend constexpr Vec3 operator+(const Vec3& a, const Vec3& b) noexcept {
        return {a.mX + b.mX, a.mY + b.mY, a.mZ + b.mZ};
    }
    friend constexpr Vec3 operator-(const Vec3& a, const Vec3& b) noexcept {
        return {a.mX - b.mX, a.mY - b.mY, a.mZ - b.mZ};
    }
    friend constexpr Vec3 operator*(const Vec3& a, const Vec3& b) noexcept {
        return {a.mX * b.mX, a.mY * b.mY, a.mZ * b.mZ};
    }
    friend constexpr Vec3 operator/(const Vec3& a, const Vec3& b) noexcept {
        return {a.mX / b.mX, a.mY / b.mY, a.mZ / b.mZ};
    }
    friend constexpr Vec3 operator*(const Vec3& a, T factor) noexcept {
        return {a.mX * factor, a.mY * factor, a.mZ * factor};
    }
    friend constexpr Vec3 operator*(T factor, const Vec3& a) noexcept { return a * factor; }
    friend constexpr Vec3 operator/(const Vec3& a, T divisor) noexcept {
        return {a.mX / divisor, a.mY / divisor, a.mZ / divisor};
    }
};

using Vec3f = Vec3<float>;
using Vec3d = Vec3<double>;
using Vec3i = Vec3<int32>;
using Vec3u = Vec3<uint32>;

template <class T>
constexpr T dot(const Vec3<T>& a, const Vec3<T>& b) noexcept {
    return a.mX * b.mX + a.mY * b.mY + a.mZ * b.mZ;
}

template <class T>
constexpr Vec3<T> cross(const Vec3<T>& a, const Vec3<T>& b) noexcept {
    return {a.mY * b.mZ - a.mZ * b.mY, a.mZ * b.mX - a.mX * b.mZ, a.mX * b.mY - a.mY * b.mX};
}

} // namespace Tarq::Common::Math
