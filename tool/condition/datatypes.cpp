#include "tool/condition/datatypes.h"

#include "common/reflection/datatype/builtindatatypes.h"
#include "common/reflection/datatype/datatypeoperators.h"

#include <algorithm>
#include <array>
#include <concepts>

namespace Tarq::Tool {

using namespace Common;
using Network::Message::getStreamID;
using Reflection::Datatype::DatatypeOperators;
using Reflection::Datatype::ElementType;

namespace {

template <class... Operators>
constexpr uint16 bitsOf(Operators... operators) noexcept {
    return static_cast<uint16>(((1U << operators) | ... | 0U));
}

constexpr uint16 cEquality = bitsOf(OPERATOR_EQUAL, OPERATOR_UNEQUAL);
constexpr uint16 cOfNumbers = static_cast<uint16>(0xFFFFU << OPERATOR_EQUAL);

/// Formulas compute with five of the fundamental types; the others they can only name. Classes have what they were
/// registered with.
template <class T>
uint16 operatorsOf() noexcept {
    if constexpr (std::same_as<T, bool>) {
        return cEquality | bitsOf(OPERATOR_AND, OPERATOR_OR);
    } else if constexpr (std::same_as<T, int32> || std::same_as<T, uint32> || std::same_as<T, int64> ||
                         std::same_as<T, float>) {
        return cOfNumbers;
    } else if constexpr (std::is_arithmetic_v<T>) {
        return 0;
    } else {
        const auto table = DatatypeOperators<T>::make();
        uint16 bits = 0;
        const auto note = [&bits](bool isThere, Operator operation) {
            bits = static_cast<uint16>(bits | (isThere ? bitsOf(operation) : 0));
        };
        note(table.equal != nullptr, OPERATOR_EQUAL);
        note(table.unequal != nullptr, OPERATOR_UNEQUAL);
        note(table.smaller != nullptr, OPERATOR_SMALLER);
        note(table.smallerEqual != nullptr, OPERATOR_SMALLER_EQUAL);
        note(table.greater != nullptr, OPERATOR_GREATER);
        note(table.greaterEqual != nullptr, OPERATOR_GREATER_EQUAL);
        note(table.addition != nullptr, OPERATOR_ADDITION);
        note(table.substraction != nullptr, OPERATOR_SUBTRACTION);
        note(table.multiplication != nullptr, OPERATOR_MULTIPLICATION);
        note(table.division != nullptr, OPERATOR_DIVISION);
        return bits;
    }
}

template <class T>
Datatype makeDatatype(const ElementType<T>& element) noexcept {
    Datatype type{.id = getStreamID<T>(), .name = element.name, .operators = operatorsOf<T>()};
    if constexpr (std::same_as<T, bool>) {
        type.shape = SHAPE_BOOLEAN;
    } else if constexpr (std::is_arithmetic_v<T>) {
        type.shape = std::integral<T> ? SHAPE_INTEGER : SHAPE_FLOATING;
        type.isSigned = std::is_signed_v<T>;
        type.numBytes = sizeof(T);
    } else if constexpr (std::same_as<T, String>) {
        type.shape = SHAPE_TEXT;
    } else if constexpr (std::same_as<T, WString>) {
        type.shape = SHAPE_WIDE_TEXT;
    } else {
        type.shape = SHAPE_VECTOR;
        type.numComponents = static_cast<uint8>(T::cComponents);
        type.part = getStreamID<typename T::Component>();
    }
    return type;
}

template <class T>
Datatype makeList(const ElementType<T>& element) noexcept {
    using List = Container::Vector<T>;
    return {.id = getStreamID<List>(),
            .name = element.name,
            .shape = SHAPE_LIST,
            .part = getStreamID<T>(),
            .operators = operatorsOf<List>()};
}

/// Not a constant: sanitizers compare the addresses of operators when the program runs.
const auto& allDatatypes() noexcept {
    static const auto datatypes = std::apply(
        [](const auto&... element) {
            return std::array<Datatype, 2 * sizeof...(element)>{makeDatatype(element)..., makeList(element)...};
        },
        Reflection::Datatype::cElementTypes);
    return datatypes;
}

constexpr MemberFunction cOfTexts[] = {{"GetLength", ROLE_NOTHING, ROLE_COUNT}};
constexpr MemberFunction cOfVectors[] = {
    {"GetComponent", ROLE_INDEX, ROLE_PART},
    {"GetLength", ROLE_NOTHING, ROLE_PART},
    {"GetDistance", ROLE_SAME, ROLE_PART},
    {"SetComponent", ROLE_NOTHING, ROLE_NOTHING},
};
constexpr MemberFunction cOfLists[] = {
    {"Size", ROLE_NOTHING, ROLE_COUNT},         {"GetElement", ROLE_INDEX, ROLE_PART},
    {"Clear", ROLE_NOTHING, ROLE_NOTHING},      {"PushBack", ROLE_NOTHING, ROLE_NOTHING},
    {"SetElement", ROLE_NOTHING, ROLE_NOTHING}, {"RemoveElement", ROLE_NOTHING, ROLE_NOTHING},
};

} // namespace

const Datatype* findDatatype(StreamIDs id) noexcept {
    const auto& datatypes = allDatatypes();
    const auto* const found = std::ranges::find(datatypes, id, &Datatype::id);
    return found != datatypes.end() ? found : nullptr;
}

const Datatype& datatypeOf(StreamIDs id) noexcept {
    return *findDatatype(id);
}

String nameOf(const Datatype& type) {
    return type.shape == SHAPE_LIST ? String("Container[") + type.name + "]" : String(type.name);
}

std::span<const MemberFunction> memberFunctionsOf(const Datatype& type) noexcept {
    switch (type.shape) {
    case SHAPE_TEXT:
    case SHAPE_WIDE_TEXT:
        return cOfTexts;
    case SHAPE_VECTOR:
        return cOfVectors;
    case SHAPE_LIST:
        return cOfLists;
    default:
        return {};
    }
}

const Datatype& datatypeOf(Role role, const Datatype& object) noexcept {
    switch (role) {
    case ROLE_PART:
        return datatypeOf(object.part);
    case ROLE_SAME:
        return object;
    default:
        return datatypeOf(getStreamID<uint32>());
    }
}

} // namespace Tarq::Tool
