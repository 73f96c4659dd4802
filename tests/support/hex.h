#pragma once

#include <cstddef>
#include <string>

namespace Tarq::Test {

/// The bytes that two hexadecimal digits each stand for; blanks between them as one likes.
inline std::string bytesOf(const std::string& hex) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < hex.size(); at += hex[at] == ' ' ? 1 : 2) {
        if (hex[at] != ' ')
            bytes += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

/// The bytes as two hexadecimal digits each, with blanks between: what a failed comparison of wire bytes is read in.
inline std::string hexOf(const void* bytes, std::size_t count) {
    static constexpr char cDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t at = 0; at < count; ++at) {
        const auto byte = static_cast<const unsigned char*>(bytes)[at];
        if (at != 0)
            text += ' ';
        text += cDigits[byte >> 4];
        text += cDigits[byte & 15];
    }
    return text;
}
inline std::string hexOf(const std::string& bytes) {
    return hexOf(bytes.data(), bytes.size());
}

} // namespace Tarq::Test
