#pragma once

#include "common/container/bitvector.h"
#include "common/container/vector.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/string.h"

#include <concepts>
#include <functional>
#include <type_traits>

namespace Tarq::Common::Reflection::Datatype {

template <class T>
using ArithmeticOperator = T (*)(const T& left, const T& right);
template <class T>
using ComparisonOperator = bool (*)(const T& left, const T& right);

/// The operators that data can ask for of values of T; null where T does not support one.
template <class T>
struct OperatorTable {
    ArithmeticOperator<T> addition = nullptr;
    ArithmeticOperator<T> substraction = nullptr;
    ArithmeticOperator<T> multiplication = nullptr;
    ArithmeticOperator<T> division = nullptr;
    ComparisonOperator<T> equal = nullptr;
    ComparisonOperator<T> unequal = nullptr;
    ComparisonOperator<T> greater = nullptr;
    ComparisonOperator<T> greaterEqual = nullptr;
    ComparisonOperator<T> smaller = nullptr;
    ComparisonOperator<T> smallerEqual = nullptr;
};

/// Whether T has the operator. Arithmetic returns a T: the operator of a type that T converts to does not count, even
/// where its result converts back. A comparison through a conversion does, since nothing tells it from T's own.
template <class Operate, class Result, class T>
concept HasOperator = std::is_invocable_r_v<Result, Operate, const T&, const T&> &&
    (std::same_as<Result, bool> ||
     std::same_as<std::remove_cvref_t<std::invoke_result_t<Operate, const T&, const T&>>, T>);

/// The operator of T that `Operate` stands for, `std::plus<>` for example; null where T does not have it.
template <class Operate, class Result, class T>
constexpr auto findOperator() noexcept -> Result (*)(const T& left, const T& right) {
    if constexpr (HasOperator<Operate, Result, T>)
        return [](const T& left, const T& right) -> Result { return Operate()(left, right); };
    else
        return nullptr;
}

template <class T>
constexpr OperatorTable<T> makeEqualityOperators() noexcept {
    OperatorTable<T> operators;
    operators.equal = findOperator<std::equal_to<>, bool, T>();
    operators.unequal = findOperator<std::not_equal_to<>, bool, T>();
    return operators;
}

/// Which operators of a class type data can ask for: all that T has. Specialise it for a type to offer fewer; `make`
/// stays constexpr.
template <class T>
struct DatatypeOperators {
    static constexpr OperatorTable<T> make() noexcept {
        OperatorTable<T> operators = makeEqualityOperators<T>();
        operators.addition = findOperator<std::plus<>, T, T>();
        operators.substraction = findOperator<std::minus<>, T, T>();
        operators.multiplication = findOperator<std::multiplies<>, T, T>();
        operators.division = findOperator<std::divides<>, T, T>();
        operators.greater = findOperator<std::greater<>, bool, T>();
        operators.greaterEqual = findOperator<std::greater_equal<>, bool, T>();
        operators.smaller = findOperator<std::less<>, bool, T>();
        operators.smallerEqual = findOperator<std::less_equal<>, bool, T>();
        return operators;
    }
};

/// Vectors: addition, subtraction and equality. Data may ask for a sum that overflows, so whole numbers wrap.
template <class Vec>
struct VectorOperators {
    static constexpr OperatorTable<Vec> make() noexcept {
        OperatorTable<Vec> operators = makeEqualityOperators<Vec>();
        operators.addition = [](const Vec& a, const Vec& b) {
            return componentwise(a, b, [](auto x, auto y) { return x + y; });
        };
        operators.substraction = [](const Vec& a, const Vec& b) {
            return componentwise(a, b, [](auto x, auto y) { return x - y; });
        };
        return operators;
    }

private:
    template <class Operate>
    static Vec componentwise(const Vec& a, const Vec& b, Operate operate) noexcept {
        using Component = typename Vec::Component;
        Vec result;
        for (uint32 index = 0; index < Vec::cComponents; ++index) {
            if constexpr (std::is_integral_v<Component>) {
                using Unsigned = std::make_unsigned_t<Component>;
                result[index] =
                    static_cast<Component>(operate(static_cast<Unsigned>(a[index]), static_cast<Unsigned>(b[index])));
            } else {
                result[index] = operate(a[index], b[index]);
            }
        }
        return result;
    }
};
template <class C>
struct DatatypeOperators<Math::Vec2<C>> : VectorOperators<Math::Vec2<C>> {};
template <class C>
struct DatatypeOperators<Math::Vec3<C>> : VectorOperators<Math::Vec3<C>> {};

/// Strings: concatenation and equality.
template <class Char>
struct DatatypeOperators<BasicString<Char>> {
    static constexpr OperatorTable<BasicString<Char>> make() noexcept {
        OperatorTable<BasicString<Char>> operators = makeEqualityOperators<BasicString<Char>>();
        operators.addition = findOperator<std::plus<>, BasicString<Char>, BasicString<Char>>();
        return operators;
    }
};

/// Containers: equality, where the elements have it.
template <class E>
struct DatatypeOperators<Container::Vector<E>> {
    static constexpr OperatorTable<Container::Vector<E>> make() noexcept {
        if constexpr (std::equality_comparable<E>)
            return makeEqualityOperators<Container::Vector<E>>();
        else
            return {};
    }
};

} // namespace Tarq::Common::Reflection::Datatype
