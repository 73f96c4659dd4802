#pragma once

#include "common/types.h"

#include <string_view>

namespace Tarq::Tool {

/// The operators of two operands.
enum Operator : Common::uint8 {
    OPERATOR_OR,
    OPERATOR_AND,
    OPERATOR_EQUAL,
    OPERATOR_UNEQUAL,
    OPERATOR_SMALLER,
    OPERATOR_SMALLER_EQUAL,
    OPERATOR_GREATER,
    OPERATOR_GREATER_EQUAL,
    OPERATOR_ADDITION,
    OPERATOR_SUBTRACTION,
    OPERATOR_MULTIPLICATION,
    OPERATOR_DIVISION,
};

struct OperatorForm {
    std::string_view sign;    ///< in a text
    const char* name;         ///< in a document
    Common::uint8 precedence; ///< the higher, the tighter
};

/// By `Operator`.
inline constexpr OperatorForm cOperators[] = {
    {"||", "or", 0},     {"&&", "and", 1},          {"==", "equal", 2},  {"!=", "unequal", 2},
    {"<", "smaller", 3}, {"<=", "smallerequal", 3}, {">", "greater", 3}, {">=", "greaterequal", 3},
    {"+", "add", 4},     {"-", "sub", 4},           {"*", "mul", 5},     {"/", "div", 5},
};

constexpr bool isLogical(Operator operation) noexcept {
    return operation <= OPERATOR_AND;
}
/// Whether its result has the type of the operands.
constexpr bool isArithmetic(Operator operation) noexcept {
    return operation >= OPERATOR_ADDITION;
}

} // namespace Tarq::Tool
