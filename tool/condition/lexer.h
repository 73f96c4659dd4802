#pragma once

#include "tool/condition/operators.h"
#include "tool/condition/problem.h"

#include "common/string.h"

#include <string_view>

namespace Tarq::Tool {

enum TokenKind : Common::uint8 {
    TOKEN_END,
    TOKEN_NAME,
    TOKEN_BOOLEAN,
    TOKEN_INTEGER,
    TOKEN_FLOATING,
    TOKEN_TEXT,
    TOKEN_OPERATOR, ///< one of two operands; a minus may be a sign as well
    TOKEN_SIGN,     ///< any of !().,{}
};

struct Token {
    TokenKind kind = TOKEN_END;
    std::size_t offset = 0;  ///< in bytes of the text
    std::string_view source; ///< as it stands in the text
    Common::String text;     ///< a name or a text, without its quotes
    bool isTrue = false;
    Common::uint64 whole = 0;
    double floating = 0;
    Operator operation{};

    bool is(char sign) const noexcept { return kind == TOKEN_SIGN && source.front() == sign; }
    bool is(Operator wanted) const noexcept { return kind == TOKEN_OPERATOR && operation == wanted; }
};

/// Takes a condition's text apart.
class Lexer {
public:
    Lexer(std::string_view text, Problem& problem) noexcept : mText(text), mProblem(problem) {}

    /// Reads on. Behind the last token comes `TOKEN_END`. False, with a problem, for what is none.
    bool read(Token& token);

private:
    char at(std::size_t offset) const noexcept { return offset < mText.size() ? mText[offset] : '\0'; }
    bool readName(Token& token);
    bool readNumber(Token& token);
    bool readQuoted(Token& token, TokenKind kind);
    bool readEscape(Common::String& text);
    bool readSign(Token& token);
    bool refuseCharacter();

    std::string_view mText;
    Problem& mProblem;
    std::size_t mOffset = 0;
};

/// Whether the name can stand in a text without quotes.
bool isPlainName(std::string_view name) noexcept;
/// The text in these quotes, as the lexer reads it.
Common::String quoted(std::string_view text, char quote);

} // namespace Tarq::Tool
