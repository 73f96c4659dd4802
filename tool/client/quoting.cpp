#include "tool/client/quoting.h"

#include "tool/client/printable.h"

#include <algorithm>
#include <charconv>

namespace Tarq::Tool {

namespace {

/// Takes what follows a backslash from the text, and appends what it stands for. False when it stands for nothing.
bool appendEscaped(std::string_view& text, std::string& result) {
    if (text.empty())
        return false;
    const char kind = text.front();
    text.remove_prefix(1);
    if (kind == 'x') {
        unsigned char byte = 0;
        if (text.size() < 2 || std::from_chars(text.data(), text.data() + 2, byte, 16).ptr != text.data() + 2)
            return false;
        result += static_cast<char>(byte);
        text.remove_prefix(2);
        return true;
    }
    constexpr std::string_view cKinds = "\\\"ntr";
    constexpr std::string_view cCharacters = "\\\"\n\t\r";
    const std::size_t index = cKinds.find(kind);
    if (index == cKinds.npos)
        return false;
    result += cCharacters[index];
    return true;
}

} // namespace

std::string quote(std::string_view text) {
    std::string result = "\"";
    // A backslash has one in front of it by then.
    for (const char c : printable(text)) {
        if (c == '"')
            result += '\\';
        result += c;
    }
    return result + '"';
}

bool isPlain(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '+' || static_cast<unsigned char>(c) >= 0x80;
}

std::string quoteName(std::string_view name) {
    const bool isBare = !name.empty() && std::all_of(name.begin(), name.end(), &isPlain) && printable(name) == name;
    return isBare ? std::string(name) : quote(name);
}

std::size_t lengthOfQuoted(std::string_view text) noexcept {
    if (!text.starts_with('"'))
        return 0;
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at] == '"')
            return at + 1;
        at += text[at] == '\\';
    }
    return 0;
}

std::optional<std::string> unquote(std::string_view text) {
    if (text.empty() || lengthOfQuoted(text) != text.size())
        return std::nullopt;
    text.remove_prefix(1);
    text.remove_suffix(1);
    std::string result;
    while (!text.empty()) {
        const char c = text.front();
        text.remove_prefix(1);
        if (c != '\\')
            result += c;
        else if (!appendEscaped(text, result))
            return std::nullopt;
    }
    return result;
}

} // namespace Tarq::Tool
