#include "tool/client/value.h"

#include "tool/client/quoting.h"

#include <charconv>
#include <concepts>

namespace Tarq::Tool {

using namespace Common;

namespace {

template <class T>
concept Components = requires {
    T::cComponents;
};

void append(std::string& text, bool value) {
    text += value ? "true" : "false";
}

template <class Number>
    requires(std::is_arithmetic_v<Number>)
void append(std::string& text, const Number& value) {
    char digits[64];
    text.append(digits, std::to_chars(digits, digits + sizeof(digits), value).ptr);
}

void append(std::string& text, const String& value) {
    text += quote(value.view());
}

void append(std::string& text, const WString& value) {
    text += quote(encodeUTF8(value));
}

template <Components Vec>
void append(std::string& text, const Vec& value) {
    for (uint32 at = 0; at < Vec::cComponents; ++at) {
        text += at == 0 ? "(" : ", ";
        append(text, value[at]);
    }
    text += ')';
}

template <class E>
void append(std::string& text, const Container::Vector<E>& values) {
    text += '[';
    const char* separator = "";
    for (const E& value : values) {
        text += separator;
        append(text, value);
        separator = ", ";
    }
    text += ']';
}

} // namespace

ItemStream::ItemStream(const Bytes& item) : MemoryStream("value", item.empty() ? 1 : item.size()) {
    write(item.data(), item.size());
}

bool isType(StreamIDs type) noexcept {
    return Network::Message::getStreamIDName(type) != nullptr;
}

std::string nameOfType(StreamIDs type) {
    constexpr std::string_view cPrefix = "STREAM_TYPE_";
    const char* const name = Network::Message::getStreamIDName(type);
    if (!name)
        return "type " + std::to_string(static_cast<unsigned int>(type));
    std::string text(std::string_view(name).substr(cPrefix.size()));
    for (char& c : text)
        c = CharacterTraits<char>::toLower(c);
    return text;
}

std::string textOfValue(const Bytes& item) {
    std::string text;
    const std::string problem = visitValue(item, [&](const auto& value) { append(text, value); });
    return problem.empty() ? text : '<' + problem + '>';
}

} // namespace Tarq::Tool
