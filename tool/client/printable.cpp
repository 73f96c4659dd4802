#include "tool/client/printable.h"

#include <bit>

namespace Tarq::Tool {

namespace {

/// How many bytes a UTF-8 character has that begins with `lead`; 0 when none begins like that.
std::size_t lengthOf(unsigned char lead) noexcept {
    const int ones = std::countl_one(lead);
    if (ones == 0)
        return 1;
    return ones == 1 || ones > 4 ? 0 : static_cast<std::size_t>(ones);
}

/// Control characters, and marks that change the direction of what is written.
bool isHidden(char32_t code) noexcept {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x61C || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

bool isCharacter(char32_t code, std::size_t length) noexcept {
    constexpr char32_t cSmallest[] = {0, 0x80, 0x800, 0x10000};
    return code >= cSmallest[length - 1] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

/// How many bytes the character at the beginning of the text has; 0 when there is none that can be shown.
std::size_t shownLength(std::string_view text) noexcept {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lengthOf(lead);
    if (length == 0 || length > text.size())
        return 0;
    auto code = static_cast<char32_t>(length == 1 ? lead : lead & (0x7F >> length));
    for (const char c : text.substr(1, length - 1)) {
        if ((c & 0xC0) != 0x80)
            return 0;
        code = code << 6 | static_cast<char32_t>(c & 0x3F);
    }
    return isCharacter(code, length) && !isHidden(code) ? length : 0;
}

std::string escape(std::string_view text, std::string_view backslash) {
    constexpr char cDigits[] = "0123456789ABCDEF";
    std::string result;
    while (!text.empty()) {
        const std::size_t length = shownLength(text);
        const auto byte = static_cast<unsigned char>(text.front());
        if (length == 0)
            result.append("\\x").append(1, cDigits[byte >> 4]).append(1, cDigits[byte & 15]);
        else if (byte == '\\')
            result += backslash;
        else
            result += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

} // namespace

std::string printable(std::string_view text) {
    return escape(text, "\\\\");
}

std::string shown(std::string_view text) {
    return escape(text, "\\");
}

} // namespace Tarq::Tool
