#pragma once

#include "common/types.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

/// How the parser goes through its buffer: classes of characters, and searches for them.
namespace Tarq::Common::Parser::XML {

inline constexpr std::string_view cNameStarts = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
inline constexpr std::string_view cNameParts = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.,-:";

enum CharacterClass : uint8 {
    CHARACTER_NAME_START = 1,
    CHARACTER_NAME_PART = 2,
    CHARACTER_BLANK = 4,      ///< white space that is no line break
    CHARACTER_LINE_BREAK = 8, ///< white space too
    CHARACTER_VALUE_END = 16, ///< what a search for the end of a value stops at
};

inline constexpr std::array<uint8, 256> cCharacterClasses = [] {
    std::array<uint8, 256> classes{};
    const auto add = [&classes](std::string_view characters, CharacterClass which) {
        for (const char c : characters)
            classes[static_cast<unsigned char>(c)] |= which;
    };
    add(cNameStarts, CHARACTER_NAME_START);
    add(cNameParts, CHARACTER_NAME_PART);
    add(" \t\r", CHARACTER_BLANK);
    add("\n", CHARACTER_LINE_BREAK);
    add("\">", CHARACTER_VALUE_END);
    return classes;
}();

/// Whether the character belongs to any of the classes.
inline bool isOf(unsigned classes, char c) noexcept {
    return (cCharacterClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

inline constexpr unsigned cWhiteClasses = CHARACTER_BLANK | CHARACTER_LINE_BREAK;

/// Eight characters, the first one in the lowest bits.
class EightCharacters {
public:
    static constexpr std::ptrdiff_t cCount = 8;

    explicit EightCharacters(const char* at) noexcept {
        std::memcpy(&mBits, at, sizeof(mBits));
        if constexpr (std::endian::native == std::endian::big)
            mBits = __builtin_bswap64(mBits);
    }

    /// Whether the first `count` are the same here and there; from one up to eight.
    bool areSame(EightCharacters other, uint32 count) const noexcept {
        return (mBits ^ other.mBits) << (64 - 8 * count) == 0;
    }

private:
    uint64 mBits;
};

} // namespace Tarq::Common::Parser::XML
