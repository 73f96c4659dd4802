#pragma once

#include "common/parser/formula/datatypevalue.h"
#include "common/parser/formula/mathvalue.h"
#include "common/parser/formula/operations.h"

namespace Tarq::Common::Parser::Formula {

/// Two operands of a type that is known at run time only, with a place for the value of each. Both are always
/// evaluated, the left one first. Operators of the type that throw or assert do so when they are evaluated.
template <class Base>
class TARQ_API UntypedOperands : public Base {
public:
    using DatatypeBase = Reflection::Datatype::DatatypeBase;

    ~UntypedOperands() override;

    bool isConstant() override;
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    DatatypeID getLeftDatatypeID() override;
    DatatypeID getRightDatatypeID() override;

    MathValue* getLeft() const noexcept { return mLeft; }
    MathValue* getRight() const noexcept { return mRight; }
    const DatatypeBase& getOperandDatatype() const noexcept { return mDatatype; }

protected:
    /// Throws `OutOfMemoryException`; the operands are still the caller's then.
    UntypedOperands(const DatatypeBase& datatype, MathValue* left, MathValue* right);

    void evaluateOperands(VariableAccessor* accessor);
    const void* getLeftValue() const noexcept { return mLeftValue.get(); }
    const void* getRightValue() const noexcept { return mRightValue.get(); }

private:
    const DatatypeBase& mDatatype;
    MathValue* mLeft;
    MathValue* mRight;
    DatatypeValue mLeftValue;
    DatatypeValue mRightValue;
};

extern template class TARQ_API UntypedOperands<MathValue>;
extern template class TARQ_API UntypedOperands<TypedMathValue<bool>>;

/// Arithmetic. The value has the operands' type.
class TARQ_API UntypedOperatorMathValue : public UntypedOperands<MathValue> {
public:
    DatatypeID getDatatypeID() override;
    /// Looks at the operands only if both are constant.
    MathValue* merge() override;

protected:
    using UntypedOperands::UntypedOperands;
};

class TARQ_API UntypedComparisionMathValue : public UntypedOperands<TypedMathValue<bool>> {
public:
    MathValue* merge() override;

protected:
    using UntypedOperands::UntypedOperands;
};

/// The operator that `Operation` says, of `Base`, as the operands' type provides it.
template <class Operation, class Base>
class TARQ_API UntypedBinaryMathValue final : public Base {
    static constexpr bool cCompares = std::same_as<Base, UntypedComparisionMathValue>;

public:
    /// Takes the operands over, which both have this type. Throws `OutOfMemoryException`; they are still the caller's
    /// then.
    UntypedBinaryMathValue(const Reflection::Datatype::DatatypeBase& datatype, MathValue* left, MathValue* right);

    Expression::Operation getOperationType() override;
    using Base::getValue;
    void getValue(std::conditional_t<cCompares, bool&, void*> result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;
};

/// The operands of the sum and the product may change places: then it is still the same formula.
using UntypedAdditionMathValue = UntypedBinaryMathValue<Operations::Addition, UntypedOperatorMathValue>;
using UntypedSubstractionMathValue = UntypedBinaryMathValue<Operations::Substraction, UntypedOperatorMathValue>;
using UntypedMultiplicationMathValue = UntypedBinaryMathValue<Operations::Multiplication, UntypedOperatorMathValue>;
using UntypedDivisionMathValue = UntypedBinaryMathValue<Operations::Division, UntypedOperatorMathValue>;
using UntypedSmallerMathValue = UntypedBinaryMathValue<Operations::Smaller, UntypedComparisionMathValue>;
using UntypedSmallerEqualMathValue = UntypedBinaryMathValue<Operations::SmallerEqual, UntypedComparisionMathValue>;
using UntypedEqualMathValue = UntypedBinaryMathValue<Operations::Equal, UntypedComparisionMathValue>;
using UntypedGreaterEqualMathValue = UntypedBinaryMathValue<Operations::GreaterEqual, UntypedComparisionMathValue>;
using UntypedGreaterMathValue = UntypedBinaryMathValue<Operations::Greater, UntypedComparisionMathValue>;
using UntypedUnequalMathValue = UntypedBinaryMathValue<Operations::Unequal, UntypedComparisionMathValue>;

} // namespace Tarq::Common::Parser::Formula
