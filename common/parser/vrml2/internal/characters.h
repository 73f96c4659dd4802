#pragma once

#include "common/types.h"

#include <array>
#include <string_view>

/// What characters are in a VRML file. A zero byte is what stands behind all that was read: of the kinds that go on, it
/// is none.
namespace Tarq::Common::Parser::VRML2 {

enum CharacterClass : uint8 {
    CHARACTER_BLANK = 1, ///< goes between words: white space, what begins a comment, and zero
    CHARACTER_NAME = 2,
    CHARACTER_INTEGER = 4,
    CHARACTER_FLOAT = 8,
    CHARACTER_STRING_END = 16, ///< what in a string is more than itself: quote, backslash, line feed and zero
};

namespace Internal {

consteval std::array<uint8, 256> classifyCharacters() {
    using namespace std::string_view_literals;
    std::array<uint8, 256> classes{};
    const auto add = [&classes](std::string_view characters, uint8 characterClass) {
        for (const char character : characters)
            classes[static_cast<uint8>(character)] |= characterClass;
    };
    for (std::size_t character = 0x21; character < classes.size(); ++character)
        classes[character] = CHARACTER_NAME;
    for (const char character : "\"'#,.[]\\{}\x7F"sv)
        classes[static_cast<uint8>(character)] = 0;
    add(", \n\r\t#\0"sv, CHARACTER_BLANK);
    add("0123456789-", CHARACTER_INTEGER);
    add("0123456789.-e", CHARACTER_FLOAT);
    add("\"\\\n\0"sv, CHARACTER_STRING_END);
    return classes;
}

inline constexpr std::array<uint8, 256> cCharacterClasses = classifyCharacters();

} // namespace Internal

inline bool isOf(char character, uint8 characterClass) noexcept {
    return (Internal::cCharacterClasses[static_cast<uint8>(character)] & characterClass) != 0;
}

} // namespace Tarq::Common::Parser::VRML2
