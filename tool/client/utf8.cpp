#include "tool/client/value.h"

#include <bit>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr char32_t cLastCharacter = 0x10FFFF;

void appendByte(std::string& text, char32_t byte) {
    text += static_cast<char>(static_cast<unsigned char>(byte));
}

void appendUTF8(std::string& text, char32_t code) {
    if (code < 0x80) {
        appendByte(text, code);
        return;
    }
    const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr unsigned char cLeads[] = {0, 0xC0, 0xE0, 0xF0};
    appendByte(text, cLeads[more] | code >> (6 * more));
    for (int left = more - 1; left >= 0; --left)
        appendByte(text, 0x80 | (code >> (6 * left) & 0x3F));
}

/// Takes the first character from the text. False when there is none.
bool takeCharacter(std::string_view& text, char32_t& code) {
    const auto lead = static_cast<unsigned char>(text.front());
    const int ones = std::countl_one(lead);
    const std::size_t length = ones == 0 ? 1 : static_cast<std::size_t>(ones);
    if (ones == 1 || ones > 4 || length > text.size())
        return false;
    code = ones == 0 ? lead : lead & (0x7FU >> ones);
    for (const char c : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            return false;
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3F);
    }
    text.remove_prefix(length);
    constexpr char32_t cSmallest[] = {0, 0x80, 0x800, 0x10000};
    return code >= cSmallest[length - 1] && code <= cLastCharacter;
}

/// Characters that have two units where a wide character has 16 bits.
bool isPair(char32_t code) noexcept {
    return sizeof(wchar_t) == 2 && code >= 0x10000;
}

} // namespace

std::string encodeUTF8(const WString& text) {
    std::string result;
    for (uint32 at = 0; at < text.size(); ++at) {
        auto code = static_cast<char32_t>(text[at]);
        const char32_t next = at + 1 < text.size() ? static_cast<char32_t>(text[at + 1]) : 0;
        if (sizeof(wchar_t) == 2 && (code & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (next & 0x3FF);
            ++at;
        }
        appendUTF8(result, code > cLastCharacter ? 0xFFFD : code);
    }
    return result;
}

std::optional<WString> decodeUTF8(std::string_view text) {
    WString result;
    while (!text.empty()) {
        char32_t code = 0;
        if (!takeCharacter(text, code))
            return std::nullopt;
        if (isPair(code)) {
            result += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
            code = 0xDC00 + (code & 0x3FF);
        }
        result += static_cast<wchar_t>(code);
    }
    return result;
}

} // namespace Tarq::Tool
