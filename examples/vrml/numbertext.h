#pragma once

#include "common/math/vec3.h"

#include <charconv>
#include <string>

/// Numbers as texts: the shortest ones that are read back as the same numbers.
namespace numbertext {

/// The longest text of a float.
constexpr std::size_t cLongest = 16;

/// Writes it to where there is room for the longest. Returns the end.
inline char* write(char* target, float number) {
    return std::to_chars(target, target + cLongest, number).ptr;
}

inline std::string text(float number) {
    char digits[cLongest];
    return std::string(digits, write(digits, number));
}

inline std::string text(const Tarq::Common::Math::Vec3f& vector) {
    return text(vector.mX) + " " + text(vector.mY) + " " + text(vector.mZ);
}

} // namespace numbertext
