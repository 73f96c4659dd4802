#include "tool/cli/valuejson.h"

#include <charconv>
#include <cmath>

namespace Tarq::Tool {

using namespace Common;

namespace {

template <class Number>
    requires(std::is_integral_v<Number>)
Json jsonOf(const Number& value) {
    return value;
}

/// The digits are those of the number's own precision.
template <class Number>
    requires(std::is_floating_point_v<Number>)
Json jsonOf(const Number& value) {
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    char digits[64];
    const char* const end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
    double number = 0;
    std::from_chars(digits, end, number);
    return number;
}

Json jsonOf(const String& value) {
    return toStd(value);
}

Json jsonOf(const WString& value) {
    return encodeUTF8(value);
}

template <class Vec>
    requires(Vec::cComponents != 0)
Json jsonOf(const Vec& value) {
    Json components = Json::array();
    for (uint32 at = 0; at < Vec::cComponents; ++at)
        components.push_back(jsonOf(value[at]));
    return components;
}

template <class E>
Json jsonOf(const Container::Vector<E>& values) {
    Json elements = Json::array();
    for (const E& value : values)
        elements.push_back(jsonOf(value));
    return elements;
}

} // namespace

Json jsonOfValue(const Bytes& item) {
    Json json;
    const std::string problem = visitValue(item, [&](const auto& value) { json = jsonOf(value); });
    return problem.empty() ? json : Json();
}

} // namespace Tarq::Tool
