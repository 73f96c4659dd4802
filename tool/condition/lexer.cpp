#include "tool/condition/lexer.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace Tarq::Tool {

using namespace Common;

namespace {

using Traits = CharacterTraits<char>;

constexpr std::string_view cHexDigits = "0123456789ABCDEF";

bool beginsName(char c) noexcept {
    return c == '_' || (Traits::toLower(c) >= 'a' && Traits::toLower(c) <= 'z');
}

bool continuesName(char c) noexcept {
    return beginsName(c) || Traits::isDigit(c);
}

/// -1 for what is none.
int hexDigit(char c) noexcept {
    const auto place = c == '\0' ? std::string_view::npos : cHexDigits.find(Traits::toUpper(c));
    return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

struct Escape {
    char name;
    char character;
};
constexpr Escape cEscapes[] = {{'\\', '\\'}, {'"', '"'}, {'`', '`'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

/// How many bytes the character has that begins there; 0 when it is none of UTF-8.
std::size_t lengthOfCharacter(std::string_view text) noexcept {
    const auto byteAt = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned first = byteAt(0);
    const std::size_t length = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (length == 0 || first > 0xF4 || length > text.size())
        return 0;
    for (std::size_t index = 1; index < length; ++index) {
        if ((byteAt(index) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

bool isUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

} // namespace

bool Lexer::read(Token& token) {
    while (Traits::isSpace(at(mOffset)))
        ++mOffset;
    token = Token();
    token.offset = mOffset;
    if (mOffset == mText.size())
        return true;
    const char c = at(mOffset);
    bool isRead = false;
    if (beginsName(c))
        isRead = readName(token);
    else if (Traits::isDigit(c) || (c == '.' && Traits::isDigit(at(mOffset + 1))))
        isRead = readNumber(token);
    else if (c == '"')
        isRead = readQuoted(token, TOKEN_TEXT);
    else if (c == '`')
        isRead = readQuoted(token, TOKEN_NAME);
    else
        isRead = readSign(token);
    token.source = mText.substr(token.offset, mOffset - token.offset);
    return isRead;
}

bool Lexer::readName(Token& token) {
    const std::size_t first = mOffset;
    while (continuesName(at(mOffset)))
        ++mOffset;
    const std::string_view name = mText.substr(first, mOffset - first);
    token.isTrue = name == "true";
    token.kind = token.isTrue || name == "false" ? TOKEN_BOOLEAN : TOKEN_NAME;
    token.text = String(name);
    return true;
}

bool Lexer::readNumber(Token& token) {
    const char* const first = mText.data() + mOffset;
    const bool isHex = at(mOffset) == '0' && Traits::toLower(at(mOffset + 1)) == 'x';
    while (continuesName(at(mOffset)) || at(mOffset) == '.' ||
           (!isHex && (at(mOffset) == '+' || at(mOffset) == '-') && Traits::toLower(at(mOffset - 1)) == 'e'))
        ++mOffset;
    const char* const end = mText.data() + mOffset;
    const std::string_view source(first, static_cast<std::size_t>(end - first));
    std::from_chars_result result{};
    if (isHex || std::ranges::all_of(source, &Traits::isDigit)) {
        token.kind = TOKEN_INTEGER;
        result = std::from_chars(first + (isHex ? 2 : 0), end, token.whole, isHex ? 16 : 10);
    } else {
        token.kind = TOKEN_FLOATING;
        result = std::from_chars(first, end, token.floating);
    }
    if (result.ec == std::errc::invalid_argument || result.ptr != end)
        return mProblem.report(token.offset, quoted(source, '"') + " is no number");
    if (result.ec != std::errc())
        return mProblem.report(token.offset, String(source) + " is beyond every range of numbers");
    return true;
}

bool Lexer::readQuoted(Token& token, TokenKind kind) {
    const char quote = at(mOffset++);
    token.kind = kind;
    while (at(mOffset) != quote) {
        if (mOffset == mText.size())
            return mProblem.report(token.offset,
                                   kind == TOKEN_TEXT ? "this text is not closed" : "this name is not closed");
        if (at(mOffset) != '\\')
            token.text.push_back(at(mOffset++));
        else if (!readEscape(token.text))
            return false;
    }
    ++mOffset;
    return true;
}

bool Lexer::readEscape(String& text) {
    const char name = at(mOffset + 1);
    if (name == 'x') {
        const int high = hexDigit(at(mOffset + 2));
        const int low = hexDigit(at(mOffset + 3));
        if (high < 0 || low < 0)
            return mProblem.report(mOffset, "\"\\x\" wants two hexadecimal digits");
        text.push_back(static_cast<char>(high * 16 + low));
        mOffset += 4;
        return true;
    }
    const auto* const found = std::ranges::find(cEscapes, name, &Escape::name);
    if (found == std::ranges::end(cEscapes))
        return mProblem.report(mOffset, "there is no such escape; a backslash is written \"\\\\\"");
    text.push_back(found->character);
    mOffset += 2;
    return true;
}

bool Lexer::readSign(Token& token) {
    const std::string_view rest = mText.substr(mOffset);
    // The longest sign counts.
    for (const std::size_t length : {std::size_t{2}, std::size_t{1}}) {
        const auto* const found = std::ranges::find(cOperators, rest.substr(0, length), &OperatorForm::sign);
        if (found == std::ranges::end(cOperators))
            continue;
        token.kind = TOKEN_OPERATOR;
        token.operation = static_cast<Operator>(found - std::ranges::begin(cOperators));
        mOffset += std::min(length, rest.size());
        return true;
    }
    if (std::string_view("!().,{}").find(rest.front()) == std::string_view::npos)
        return refuseCharacter();
    token.kind = TOKEN_SIGN;
    ++mOffset;
    return true;
}

bool Lexer::refuseCharacter() {
    const std::string_view rest = mText.substr(mOffset);
    const std::size_t length = std::max<std::size_t>(lengthOfCharacter(rest), 1);
    String text = quoted(rest.substr(0, length), '"') + " means nothing here";
    switch (rest.front()) {
    case '=':
        text = "\"=\" means nothing here; \"==\" compares";
        break;
    case '&':
        text = "\"&\" means nothing here; \"&&\" is the operator";
        break;
    case '|':
        text = "\"|\" means nothing here; \"||\" is the operator";
        break;
    case '\'':
        text = "texts stand in double quotes";
        break;
    default:
        if (length > 1)
            text += "; a name with it stands in backquotes";
    }
    return mProblem.report(mOffset, std::move(text));
}

bool isPlainName(std::string_view name) noexcept {
    return !name.empty() && beginsName(name.front()) && std::ranges::all_of(name, &continuesName) && name != "true" &&
           name != "false";
}

String quoted(std::string_view text, char quote) {
    const bool isShown = isUtf8(text);
    String result(1, quote);
    for (const char c : text) {
        const auto* const found = std::ranges::find(cEscapes, c, &Escape::character);
        const bool isOtherQuote = (c == '"' || c == '`') && c != quote;
        const auto byte = static_cast<unsigned char>(c);
        if (found != std::ranges::end(cEscapes) && !isOtherQuote)
            result.append("\\").push_back(found->name);
        else if (byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !isShown))
            (result.append("\\x") += cHexDigits[byte >> 4U]) += cHexDigits[byte & 0xFU];
        else
            result.push_back(c);
    }
    result.push_back(quote);
    return result;
}

} // namespace Tarq::Tool
