#include "common/platform/posix/symbolnames.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <cxxabi.h>

namespace Tarq::Common::Platform {

namespace {

bool isNameCharacter(char c) noexcept {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}

constexpr std::string_view cOperator = "operator";

/// Whether the word "operator" stands at `position`: what follows names it, with brackets that are none.
bool isOperatorAt(std::string_view text, std::size_t position) noexcept {
    const std::string_view rest = text.substr(position);
    return rest.starts_with(cOperator) &&
           (rest.size() == cOperator.size() || !isNameCharacter(rest[cOperator.size()])) &&
           (position == 0 || !isNameCharacter(text[position - 1]));
}

/// Finds the end of an operator's name, which begins behind "operator".
std::size_t skipOperator(std::string_view text, std::size_t position) noexcept {
    // The longest ones first; an operator whose sign has no brackets needs no care.
    for (const std::string_view sign : {"()", "<=>", "<<=", ">>=", "->*", "<<", ">>", "<=", ">=", "->", "<", ">"}) {
        if (text.substr(position).starts_with(sign))
            return position + sign.size();
    }
    return position;
}

/// Finds what closes the parenthesis at `position`, or the end of the text.
std::size_t findClosing(std::string_view text, std::size_t position) noexcept {
    int depth = 0;
    for (; position < text.size(); ++position) {
        if (text[position] == '(')
            ++depth;
        else if (text[position] == ')' && --depth == 0)
            break;
    }
    return position;
}

/// Finds the end of a leading "decltype(...)", and returns 0 if there is none.
std::size_t skipDecltype(std::string_view text) noexcept {
    for (const std::string_view word : {"decltype(", "decltype ("}) {
        if (text.starts_with(word))
            return findClosing(text, word.size() - 1) + 1;
    }
    return 0;
}

/// Whether a text goes on like this behind a name in parentheses, which returns a pointer or a reference to a function
/// or to an array: "void (*name(int))(char)", "int (&name(int)) [3]".
bool isBehindDeclarator(std::string_view rest) noexcept {
    return rest.starts_with('(') || rest.starts_with(" [");
}

/// Takes the result in front of the name and the parameters behind it off, and what follows these.
///
/// Both are found in one pass: the name reaches from behind the last separator outside of all brackets, to the last
/// opening parenthesis outside of all others. A local function's name has its outer function's parameters inside.
std::string_view trimToName(std::string_view text) noexcept {
    std::size_t begin = 0;
    std::size_t end = text.size();
    int depth = 0;
    bool isNamed = false; // The word "operator" was seen: separators belong to the name from here on.
    for (std::size_t at = skipDecltype(text); at < text.size(); ++at) {
        if (depth == 0 && isOperatorAt(text, at)) {
            at = skipOperator(text, at + cOperator.size()) - 1;
            isNamed = true;
            continue;
        }
        const char c = text[at];
        if (c == '(' && at == begin) {
            const std::size_t closing = findClosing(text, at);
            if (closing < text.size() && isBehindDeclarator(text.substr(closing + 1)))
                return trimToName(text.substr(at + 1, closing - at - 1));
        }
        if (c == '(' && depth == 0)
            end = at;
        if (c == '(' || c == '<' || c == '{' || c == '[')
            ++depth;
        else if ((c == ')' || c == '>' || c == '}' || c == ']') && depth > 0)
            --depth;
        else if ((c == ' ' || c == '*' || c == '&') && depth == 0 && end == text.size() && !isNamed)
            begin = at + 1;
        else if (c == ':' && depth == 0)
            end = text.size(); // What was taken for the parameters belongs to an outer function or namespace.
    }
    return begin < end ? text.substr(begin, end - begin) : text;
}

} // namespace

FunctionName demangle(std::string symbol) {
    // Compilers append what they made of a function (".cold", ".part.0", ".constprop.0"), and linkers the version that
    // the name belongs to ("@@GLIBC_2.34").
    const std::size_t suffix = symbol.find_first_of(".@", 1);
    symbol.resize(std::min(suffix, symbol.size()));
    // Any other name would be taken for that of a type: a function "f" of C for "float".
    if (!symbol.starts_with("_Z"))
        return {symbol, symbol};
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
    if (!text)
        return {symbol, symbol};
    return {std::string(trimToName(text.get())), text.get()};
}

} // namespace Tarq::Common::Platform
