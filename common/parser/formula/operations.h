#pragma once

#include "common/export.h"
#include "common/parser/formula/expression.h"

#include <concepts>
#include <type_traits>

/// What the typed operators compute.
///
/// Whole numbers wrap around. Division cuts off towards zero; by zero it gives 0. Floats are single precision, rounded
/// after each operation; a float that is no number is unequal to everything, and nothing else holds for it.
namespace Tarq::Common::Parser::Formula::Operations {

/// Computes in unsigned numbers, for which to wrap is defined.
template <class T, class Compute>
constexpr T wrapped(T left, T right, Compute compute) noexcept {
    if constexpr (std::integral<T>) {
        using Unsigned = std::make_unsigned_t<T>;
        return static_cast<T>(compute(static_cast<Unsigned>(left), static_cast<Unsigned>(right)));
    } else {
        return compute(left, right);
    }
}

struct Arithmetic {
    template <class T>
    using Result = T;
    static constexpr bool cCommutes = false;
};

struct Comparison {
    template <class T>
    using Result = bool;
    static constexpr bool cCommutes = false;
};

struct TARQ_API Addition : Arithmetic {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_ADDITION;
    template <class T>
    static constexpr T compute(T left, T right) noexcept {
        return wrapped(left, right, [](auto a, auto b) { return a + b; });
    }
};

struct TARQ_API Substraction : Arithmetic {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_SUBSTRACTION;
    template <class T>
    static constexpr T compute(T left, T right) noexcept {
        return wrapped(left, right, [](auto a, auto b) { return a - b; });
    }
};

struct TARQ_API Multiplication : Arithmetic {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_MULTIPLICATION;
    template <class T>
    static constexpr T compute(T left, T right) noexcept {
        return wrapped(left, right, [](auto a, auto b) { return a * b; });
    }
};

struct TARQ_API Division : Arithmetic {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_DIVISION;
    template <class T>
    static constexpr T compute(T left, T right) noexcept {
        if constexpr (std::integral<T>) {
            if (right == 0)
                return 0;
            // The smallest number has no opposite: it stays what it is.
            if (std::signed_integral<T> && right == static_cast<T>(-1))
                return Substraction::compute(T{0}, left);
        }
        return left / right;
    }
};

struct TARQ_API Smaller : Comparison {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_SMALLER;
    template <class T>
    static constexpr bool compute(T left, T right) noexcept {
        return left < right;
    }
};

struct TARQ_API SmallerEqual : Comparison {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_SMALLER_EQUAL;
    template <class T>
    static constexpr bool compute(T left, T right) noexcept {
        return left <= right;
    }
};

struct TARQ_API Equal : Comparison {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_EQUAL;
    template <class T>
    static constexpr bool compute(T left, T right) noexcept {
        return left == right;
    }
};

struct TARQ_API GreaterEqual : Comparison {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_GREATER_EQUAL;
    template <class T>
    static constexpr bool compute(T left, T right) noexcept {
        return left >= right;
    }
};

struct TARQ_API Greater : Comparison {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_GREATER;
    template <class T>
    static constexpr bool compute(T left, T right) noexcept {
        return left > right;
    }
};

struct TARQ_API Unequal : Comparison {
    static constexpr Expression::Operation cOperation = Expression::OPERATION_UNEQUAL;
    template <class T>
    static constexpr bool compute(T left, T right) noexcept {
        return left != right;
    }
};

struct TARQ_API And : Comparison {
    static constexpr bool cCommutes = true;
    static constexpr Expression::Operation cOperation = Expression::OPERATION_AND;
    /// Both are known: no jump is worth it.
    static constexpr bool compute(bool left, bool right) noexcept { return (left & right) != 0; }
};

struct TARQ_API Or : Comparison {
    static constexpr bool cCommutes = true;
    static constexpr Expression::Operation cOperation = Expression::OPERATION_OR;
    static constexpr bool compute(bool left, bool right) noexcept { return (left | right) != 0; }
};

} // namespace Tarq::Common::Parser::Formula::Operations
