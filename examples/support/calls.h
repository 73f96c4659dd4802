#pragma once

#include "support/colour.h"

#include "common/library.h"
#include "common/reflection/datatype/datatypes.h"
#include "common/reflection/function/functionargumentlist.h"
#include "common/reflection/function/functionregistrar.h"
#include "common/reflection/reflectioninterface.h"

#include <charconv>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// Calls of registered functions, written as text: "name argument argument". Quotes keep an argument with blanks
/// together.

/// Why a call was not made.
struct CallError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

namespace calls {

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection;
using Types = Function::FunctionRegistrar::Types;

inline std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    bool isQuoted = false;
    bool isInside = false;
    for (const char c : line) {
        const bool ends = c == ' ' && !isQuoted;
        if (!ends && !isInside)
            words.emplace_back();
        isInside = !ends;
        if (c == '"')
            isQuoted = !isQuoted;
        else if (!ends)
            words.back() += c;
    }
    if (isQuoted)
        throw CallError("a quote is left open");
    return words;
}

/// Takes a number off the front of the text.
template <class T>
bool takeNumber(std::string_view& text) {
    T number;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

/// "(1,2,3)". The library reads "(1,2" and "1" as well, with zeros for what is missing; a person would rather be told.
template <class Vec>
bool isVector(std::string_view text) {
    for (uint32 index = 0; index < Vec::cComponents; ++index) {
        if (!text.starts_with(index == 0 ? '(' : ','))
            return false;
        text.remove_prefix(1);
        if (!takeNumber<typename Vec::Component>(text))
            return false;
    }
    return text == ")";
}

/// Whether the text is all of a value. The library's own forms take any text, as the C library does: "12x" is 12.
template <class T>
bool isValue(std::string_view text) {
    if constexpr (std::is_same_v<T, bool>)
        return text == "true" || text == "false" || text == "1" || text == "0";
    else if constexpr (std::is_arithmetic_v<T>)
        return takeNumber<T>(text) && text.empty();
    else if constexpr (requires { T().mX; })
        return isVector<T>(text);
    else
        return true;
}

inline bool isValueOf(Datatype::DatatypeID type, std::string_view text) {
    bool result = true;
    Datatype::forEachElementType([&]<class T>(const Datatype::ElementType<T>&) {
        if (type == Datatype::GET_DATATYPE_ID<T>())
            result = isValue<T>(text);
    });
    return result;
}

inline std::string nameOf(Datatype::DatatypeID type) {
    return ReflectionInterface::getDatatypeManager()->getDatatypeName(type).c_str();
}

/// "(String, Float)"
inline std::string describe(const Types& arguments) {
    std::string text = "(";
    for (const Datatype::DatatypeID type : arguments)
        text += (text.size() > 1 ? ", " : "") + nameOf(type);
    return text + ")";
}

/// A value of a data type, on the library's temporary allocator.
class Value {
public:
    /// The text has been looked at.
    Value(const Datatype::DatatypeBase& type, const std::string& text)
        : mType(type), mValue(type.parseValue(text.c_str(), Library::getTempAlloc())) {}
    explicit Value(const Datatype::DatatypeBase& type)
        : mType(type), mValue(type.createValue(Library::getTempAlloc())) {}
    ~Value() { mType.deleteValue(mValue, Library::getTempAlloc()); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    void* get() const { return mValue; }

    /// How people write it.
    std::string toText() const {
        std::string text = "something";
        Datatype::forEachElementType([&]<class T>(const Datatype::ElementType<T>&) {
            if (mType.getDatatypeID() == Datatype::GET_DATATYPE_ID<T>())
                text = write(*static_cast<const T*>(mValue));
        });
        if (mType.getDatatypeID() == Datatype::GET_DATATYPE_ID<Colour>())
            text = write(*static_cast<const Colour*>(mValue));
        return text;
    }

private:
    template <class T>
    static std::string write(const T& value) {
        if constexpr (std::is_arithmetic_v<T>) {
            char digits[32];
            return {digits, std::to_chars(digits, digits + sizeof(digits), value + T()).ptr};
        } else if constexpr (requires { value.mZ; }) {
            return "(" + write(value.mX) + "," + write(value.mY) + "," + write(value.mZ) + ")";
        } else if constexpr (requires { value.mX; }) {
            return "(" + write(value.mX) + "," + write(value.mY) + ")";
        } else if constexpr (std::is_same_v<T, String>) {
            return "\"" + std::string(value.view()) + "\"";
        } else {
            return std::to_string(value.length()) + " wide characters";
        }
    }
    static std::string write(const Colour& colour) {
        char text[8];
        std::snprintf(text, sizeof(text), "#%02x%02x%02x", colour.red, colour.green, colour.blue);
        return text;
    }

    const Datatype::DatatypeBase& mType;
    void* const mValue;
};

/// The function of that name that takes so many arguments, and their types.
inline Function::FunctionID findFunction(const Function::FunctionRegistrar& registrar, const std::string& name,
                                         std::size_t numArguments, Types& arguments) {
    const auto* const overloads = registrar.getFunctionIDs(name);
    if (!overloads) {
        std::string known;
        for (auto at = registrar.getFunctionDeclarations()->getFunctionIterator(); !at.reachedEnd(); ++at)
            known += (known.empty() ? "" : ", ") + std::string(at.getFunctionName().view());
        throw CallError("there is no function \"" + name + "\", only " + known);
    }
    std::string forms;
    for (const Function::FunctionID each : *overloads) {
        if (registrar.getArgumentSignature(arguments, each) && arguments.size() == numArguments)
            return each;
        forms += (forms.empty() ? "" : " or ") + describe(arguments);
    }
    throw CallError("\"" + name + "\" takes " + forms + ", not " + std::to_string(numArguments) +
                    (numArguments == 1 ? " argument" : " arguments"));
}

/// Makes the call. Returns the result as text, empty for a function without one; throws `CallError`.
inline std::string call(const Function::FunctionRegistrar& registrar, std::string_view line) {
    const std::vector<std::string> words = splitWords(line);
    if (words.empty())
        return "";
    Types types(Library::getTempAlloc());
    const Function::FunctionID function = findFunction(registrar, words[0], words.size() - 1, types);

    Datatype::DatatypeManager& manager = *ReflectionInterface::getDatatypeManager();
    Function::FunctionArgumentList arguments(types, Library::getTempAlloc());
    for (uint32 index = 0; index < types.size(); ++index) {
        const std::string& text = words[index + 1];
        const Value value(*manager.getDatatype(types[index]), text);
        if (!value.get() || !isValueOf(types[index], text))
            throw CallError("argument " + std::to_string(index + 1) + " of \"" + words[0] + "\", " + text + ", is no " +
                            nameOf(types[index]));
        arguments.setValue(value.get(), types[index], index);
    }

    const Datatype::DatatypeBase* const resultType = manager.getDatatype(registrar.getReturnValueType(function));
    if (!resultType) { // "void" has no object
        registrar.callFunction(function, nullptr, arguments);
        return "";
    }
    const Value result(*resultType);
    registrar.callFunction(result.get(), function, nullptr, arguments);
    return result.toText();
}

} // namespace calls
