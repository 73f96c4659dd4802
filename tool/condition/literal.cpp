#include "tool/condition/literal.h"

#include "tool/condition/lexer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace Tarq::Tool {

using namespace Common;

namespace {

struct Forms {
    String value;     ///< as a host reads it
    String canonical; ///< as a condition has it
};

template <class T>
String shortest(T number) {
    char text[64];
    return String(text, static_cast<uint32>(std::to_chars(text, text + sizeof(text), number).ptr - text));
}

/// A host reads some floats through a double, which must not round them twice.
String valueOf(float number) {
    String text = shortest(number);
    double read = 0;
    std::from_chars(text.begin(), text.end(), read);
    return static_cast<float>(read) == number ? text : shortest(static_cast<double>(number));
}
String valueOf(double number) {
    return shortest(number);
}

/// What a number is that has no fraction stays visible.
String fractional(const String& text) {
    return text.find_first_of(".e") == String::npos ? text + ".0" : text;
}

String shownWhole(const Node& number) {
    return String(number.isNegative && number.whole != 0 ? "-" : "").appendDecimal(number.whole);
}

/// Writes literals of one type.
class LiteralWriter {
public:
    explicit LiteralWriter(Problem& problem) noexcept : mProblem(problem) {}

    bool write(const Node& literal, const Datatype& type, Forms& forms);

private:
    bool writeWhole(const Node& literal, const Datatype& type, Forms& forms);
    bool writeFloating(const Node& literal, const Datatype& type, Forms& forms);
    template <class T>
    bool writeFloatingAs(const Node& literal, const Datatype& type, double number, Forms& forms);
    bool writeText(const Node& literal, const Datatype& type, Forms& forms);
    bool writeVector(const Node& literal, const Datatype& type, Forms& forms);
    bool writeList(const Node& literal, const Datatype& type, Forms& forms);
    bool requireSplittable(const Node& literal, std::string_view joined);

    Problem& mProblem;
};

bool LiteralWriter::write(const Node& literal, const Datatype& type, Forms& forms) {
    const bool isNumber = literal.kind == NODE_INTEGER || literal.kind == NODE_FLOATING;
    if (type.shape == SHAPE_BOOLEAN && literal.kind == NODE_BOOLEAN) {
        forms = {literal.text, literal.text};
        return true;
    }
    if (type.shape == SHAPE_INTEGER && literal.kind == NODE_INTEGER)
        return writeWhole(literal, type, forms);
    if (type.shape == SHAPE_FLOATING && isNumber)
        return writeFloating(literal, type, forms);
    if ((type.shape == SHAPE_TEXT || type.shape == SHAPE_WIDE_TEXT) && literal.kind == NODE_TEXT)
        return writeText(literal, type, forms);
    if (type.shape == SHAPE_VECTOR && literal.kind == NODE_VECTOR)
        return writeVector(literal, type, forms);
    if (type.shape == SHAPE_LIST && literal.kind == NODE_LIST)
        return writeList(literal, type, forms);
    return mProblem.report(literal.offset, describe(literal.kind) + " is no " + nameOf(type));
}

bool LiteralWriter::writeWhole(const Node& literal, const Datatype& type, Forms& forms) {
    const uint32 unusedBits = 64U - 8U * type.numBytes + (type.isSigned ? 1 : 0);
    const uint64 greatest = std::numeric_limits<uint64>::max() >> unusedBits;
    const uint64 least = type.isSigned ? greatest + 1 : 0; // without the minus
    forms.canonical = shownWhole(literal);
    if (literal.whole > (literal.isNegative ? least : greatest))
        return mProblem.report(literal.offset, forms.canonical + " is out of the range of " + nameOf(type) + ", " +
                                                   (type.isSigned ? "-" : "") + String().appendDecimal(least) + " to " +
                                                   String().appendDecimal(greatest));
    // Hosts read all whole numbers as signed ones, and keep the bits.
    const bool isRead = type.isSigned || type.numBytes < sizeof(uint32) || literal.whole <= greatest / 2;
    forms.value = isRead ? forms.canonical : "-" + String().appendDecimal(greatest - literal.whole + 1);
    return true;
}

bool LiteralWriter::writeFloating(const Node& literal, const Datatype& type, Forms& forms) {
    const double size = literal.kind == NODE_INTEGER ? static_cast<double>(literal.whole) : literal.floating;
    const double number = literal.isNegative ? -size : size;
    return type.numBytes == sizeof(float) ? writeFloatingAs<float>(literal, type, number, forms)
                                          : writeFloatingAs<double>(literal, type, number, forms);
}

template <class T>
bool LiteralWriter::writeFloatingAs(const Node& literal, const Datatype& type, double number, Forms& forms) {
    constexpr auto cGreatest = static_cast<double>(std::numeric_limits<T>::max());
    // What is but a little greater is rounded down.
    const bool isTooGreat = std::abs(number) > cGreatest && !std::isfinite(static_cast<T>(number));
    const T narrowed = isTooGreat ? T() : static_cast<T>(number);
    if (isTooGreat || (narrowed == 0 && number != 0))
        return mProblem.report(literal.offset, shortest(number) +
                                                   (isTooGreat ? " is too great for " : " is too small for ") +
                                                   nameOf(type));
    forms = {valueOf(narrowed), fractional(shortest(narrowed))};
    return true;
}

bool LiteralWriter::writeText(const Node& literal, const Datatype& type, Forms& forms) {
    const bool isAscii = std::ranges::all_of(literal.text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (type.shape == SHAPE_WIDE_TEXT && !isAscii)
        return mProblem.report(literal.offset, "a host reads each byte of a WString for a character: only ASCII is "
                                               "the same everywhere");
    forms = {literal.text, quoted(literal.text, '"')};
    return true;
}

bool LiteralWriter::writeVector(const Node& literal, const Datatype& type, Forms& forms) {
    if (literal.operands.size() != type.numComponents)
        return mProblem.report(literal.offset, "a vector of " + String().appendDecimal(literal.operands.size()) +
                                                   " components is no " + nameOf(type));
    const Datatype& componentType = datatypeOf(type.part);
    for (const NodePtr& component : literal.operands) {
        Forms part;
        if (!write(*component, componentType, part))
            return false;
        const bool isFirst = forms.value.empty();
        // Here, unsigned numbers are read as such.
        const bool isWhole = componentType.shape == SHAPE_INTEGER;
        forms.value.append(isFirst ? "(" : ",").append(isWhole ? part.canonical : part.value);
        forms.canonical.append(isFirst ? "(" : ", ").append(part.canonical);
    }
    forms.value.push_back(')');
    forms.canonical.push_back(')');
    return true;
}

bool LiteralWriter::writeList(const Node& literal, const Datatype& type, Forms& forms) {
    const Datatype& elementType = datatypeOf(type.part);
    if (elementType.shape == SHAPE_WIDE_TEXT)
        return mProblem.report(literal.offset, "a host cannot read a " + nameOf(type) + " from a condition");
    const bool isOfTexts = elementType.shape == SHAPE_TEXT;
    forms.canonical.push_back('{');
    for (const NodePtr& element : literal.operands) {
        Forms part;
        if (!write(*element, elementType, part))
            return false;
        const bool isFirst = element == literal.operands.front();
        forms.value.append(isFirst ? "" : isOfTexts ? "\";\"" : ";").append(part.value);
        forms.canonical.append(isFirst ? "" : ", ").append(part.canonical);
    }
    forms.canonical.push_back('}');
    // To a host, the empty list is the empty text.
    if (literal.operands.empty())
        return true;
    if (isOfTexts && !requireSplittable(literal, forms.value))
        return false;
    forms.value = (isOfTexts ? "{\"" : "{") + forms.value + (isOfTexts ? "\"}" : "}");
    return true;
}

/// A host ends each element at the next quote, semicolon and quote, wherever they come from.
bool LiteralWriter::requireSplittable(const Node& literal, std::string_view joined) {
    static constexpr std::string_view cSeparator = "\";\"";
    const String text = "\"" + String(joined) + "\"";
    std::string_view rest = text.view();
    bool isSplittable = !rest.starts_with(cSeparator);
    rest.remove_prefix(1);
    for (const NodePtr& element : literal.operands) {
        const bool isLast = element == literal.operands.back();
        const std::size_t end = rest.find(cSeparator);
        isSplittable = isSplittable && (isLast ? end == std::string_view::npos : end == element->text.size());
        if (!isSplittable)
            return mProblem.report(element->offset, "a host cannot tell where this text ends, for its quotes and "
                                                    "semicolons");
        rest.remove_prefix(isLast ? rest.size() : end + cSeparator.size());
    }
    return true;
}

} // namespace

String describe(NodeKind literal) {
    static constexpr const char* cNames[] = {"a truth value", "a whole number", "a number with a fraction",
                                             "a text",        "a vector",       "a list"};
    return cNames[literal];
}

bool convertLiteral(Node& literal, const Datatype& type, Problem& problem) {
    Forms forms;
    if (!LiteralWriter(problem).write(literal, type, forms) || !requireWritable(forms.value, literal.offset, problem))
        return false;
    literal.type = &type;
    literal.value = std::move(forms.value);
    literal.canonical = std::move(forms.canonical);
    return true;
}

bool requireWritable(std::string_view text, std::size_t offset, Problem& problem) {
    if (text.find('<') != std::string_view::npos)
        return problem.report(offset, "a condition cannot tell a host of \"<\" in a text or a name");
    if (text.find('\0') != std::string_view::npos)
        return problem.report(offset, "a text or a name ends at a NUL");
    if (!text.empty() && text.find_first_not_of(" \t\r\n") == std::string_view::npos)
        return problem.report(offset, "a host takes a text or a name of nothing but blanks for an empty one");
    return true;
}

} // namespace Tarq::Tool
