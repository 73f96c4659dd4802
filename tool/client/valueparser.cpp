#include "tool/client/quoting.h"
#include "tool/client/value.h"

#include "common/network/message/messagebuilder.h"

#include <charconv>
#include <limits>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// Reads values from a text, one after the other; the first thing that is wrong is kept.
class ValueParser {
public:
    explicit ValueParser(std::string_view text) : mText(text), mLeft(text) {}

    bool parse(bool& value) {
        const std::string_view word = takeWord();
        value = word == "true";
        if (word.empty())
            return fail(word, "true or false is missing");
        return value || word == "false" || fail(word, "is neither true nor false");
    }
    template <class Number>
        requires(std::is_arithmetic_v<Number>)
    bool parse(Number& value) {
        const std::string_view word = takeWord();
        const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
        if (word.empty())
            return fail(word, "a number is missing");
        if (result.ec == std::errc::invalid_argument || result.ptr != word.data() + word.size())
            return fail(word, std::is_integral_v<Number> ? "is no whole number" : "is no number");
        return result.ec == std::errc() || fail(word, rangeOf<Number>());
    }
    bool parse(String& value) {
        std::string text;
        if (!takeString(text))
            return false;
        value = String(std::string_view(text));
        return true;
    }
    bool parse(WString& value) {
        std::string text;
        if (!takeString(text))
            return false;
        std::optional<WString> characters = decodeUTF8(text);
        if (!characters)
            return fail({}, "the string is not UTF-8");
        value = std::move(*characters);
        return true;
    }
    template <class Vec>
        requires(Vec::cComponents != 0)
    bool parse(Vec& value) {
        for (uint32 at = 0; at < Vec::cComponents; ++at) {
            if (!expect(at == 0 ? '(' : ',') || !parse(value[at]))
                return false;
        }
        return expect(')');
    }
    template <class E>
    bool parse(Container::Vector<E>& values) {
        if (!expect('['))
            return false;
        if (accept(']'))
            return true;
        do {
            E value{};
            if (!parse(value))
                return false;
            values.push_back(std::move(value));
        } while (accept(','));
        return expect(']');
    }
    bool finish() {
        skipBlanks();
        return mLeft.empty() || fail({}, "something follows the value");
    }

    std::string_view getRest() const noexcept { return mLeft; }
    const std::string& getProblem() const noexcept { return mProblem; }

private:
    template <class Number>
    static std::string rangeOf() {
        if constexpr (std::is_integral_v<Number>)
            return "is not from " + std::to_string(std::numeric_limits<Number>::min()) + " to " +
                   std::to_string(std::numeric_limits<Number>::max());
        else
            return "is too large or too small";
    }

    void skipBlanks() {
        const std::size_t count = mLeft.find_first_not_of(" \t");
        mLeft.remove_prefix(count == mLeft.npos ? mLeft.size() : count);
    }
    bool accept(char c) {
        skipBlanks();
        if (!mLeft.starts_with(c))
            return false;
        mLeft.remove_prefix(1);
        return true;
    }
    bool expect(char c) { return accept(c) || fail({}, std::string("a \"") + c + "\" is missing"); }
    std::string_view takeWord() {
        skipBlanks();
        const std::string_view word = mLeft.substr(0, mLeft.find_first_of(" \t,()[]\""));
        mLeft.remove_prefix(word.size());
        return word;
    }
    bool takeString(std::string& text) {
        skipBlanks();
        const std::size_t length = lengthOfQuoted(mLeft);
        std::optional<std::string> inside = unquote(mLeft.substr(0, length));
        if (length == 0)
            return fail({}, "a string stands in double quotes: \"text\"");
        if (!inside)
            return fail({}, "in the string, a backslash is not followed by one of \\ \" n t r xHH");
        mLeft.remove_prefix(length);
        text = std::move(*inside);
        return true;
    }

    /// `word`, when there is one, is what is wrong; otherwise it is what comes next.
    bool fail(std::string_view word, const std::string& what) {
        const std::size_t column = mText.size() - mLeft.size() - word.size() + 1;
        mProblem = (word.empty() ? what : quote(word) + ' ' + what) + " (column " + std::to_string(column) + ')';
        return false;
    }

    std::string_view mText;
    std::string_view mLeft;
    std::string mProblem;
};

std::string readValue(StreamIDs type, ValueParser& parser, bool isWhole, Bytes& item) {
    Memory::MemoryStream stream("value", 256);
    const bool isKnown = visitType(type, [&]<class T>() {
        T value = makeValue<T>();
        if (parser.parse(value) && (!isWhole || parser.finish()))
            Network::Message::MessageBuilder(&stream, true).write(value);
    });
    if (!isKnown)
        return "nobody knows values of " + nameOfType(type);
    if (!parser.getProblem().empty())
        return "this is no " + nameOfType(type) + ": " + parser.getProblem();
    item.resizeForOverwrite(static_cast<uint32>(stream.getLength()));
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    stream.read(item.data(), item.size());
    return {};
}

} // namespace

std::string parseValue(StreamIDs type, std::string_view text, Bytes& item) {
    ValueParser parser(text);
    return readValue(type, parser, true, item);
}

std::string takeValue(StreamIDs type, std::string_view& text, Bytes& item) {
    ValueParser parser(text);
    std::string problem = readValue(type, parser, false, item);
    text = parser.getRest();
    return problem;
}

} // namespace Tarq::Tool
