#pragma once

#include "common/parser/formula/mathvalue.h"
#include "common/reflection/datatype/datatypebase.h"

#include <utility>

namespace Tarq::Common::Parser::Formula {

/// A constant of a type that formulas compute with, or a text.
template <class T>
class TARQ_API AtomicMathValue final : public TypedMathValue<T> {
public:
    explicit AtomicMathValue(T value) noexcept : mValue(std::move(value)) {}

    using TypedMathValue<T>::getValue;
    void getValue(T& result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    /// Not even a float that is no number equals itself.
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

    const T& get() const noexcept { return mValue; }

private:
    T mValue;
};

/// A constant of any type.
class TARQ_API UntypedAtomicMathValue final : public MathValue {
public:
    /// Takes the value over, which stands in memory of the allocator that the node is made on. `datatype` is its type.
    UntypedAtomicMathValue(void* value, const Reflection::Datatype::DatatypeBase& datatype) noexcept
        : mValue(value), mDatatype(datatype) {}
    ~UntypedAtomicMathValue() override;

    DatatypeID getDatatypeID() override;
    void getValue(void* result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    /// A type without an operator for it has no equal values. Those of a fundamental type that formulas do not compute
    /// with, such as "Double", cannot be compared: an assertion, and false.
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    void* mValue;
    const Reflection::Datatype::DatatypeBase& mDatatype;
};

extern template class TARQ_API AtomicMathValue<bool>;
extern template class TARQ_API AtomicMathValue<int32>;
extern template class TARQ_API AtomicMathValue<uint32>;
extern template class TARQ_API AtomicMathValue<int64>;
extern template class TARQ_API AtomicMathValue<float>;
extern template class TARQ_API AtomicMathValue<String>;

} // namespace Tarq::Common::Parser::Formula
