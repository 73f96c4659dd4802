#pragma once

#include "common/parser/formula/mathvalue.h"
#include "common/parser/formula/operand.h"
#include "common/parser/formula/operations.h"

namespace Tarq::Common::Parser::Formula {

/// A node with two operands of types that formulas compute with. Both are always evaluated, the left one first.
template <class R, class L, class Rt>
class TARQ_API OperatorMathValue : public TypedMathValue<R> {
public:
    bool isConstant() override;
    Expression::Operation getOperationType() override;
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    MathValue* merge() override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    DatatypeID getLeftDatatypeID() override;
    DatatypeID getRightDatatypeID() override;

    TypedMathValue<L>* getLeft() const noexcept { return mLeft.get(); }
    TypedMathValue<Rt>* getRight() const noexcept { return mRight.get(); }
    /// The operands are the caller's then. The node can only be deleted.
    TypedMathValue<L>* releaseLeft() noexcept { return mLeft.release(); }
    TypedMathValue<Rt>* releaseRight() noexcept { return mRight.release(); }

protected:
    template <class Operation, class OtherLeft, class OtherRight>
    friend class BinaryMathValue;

    OperatorMathValue(TypedMathValue<L>* left, TypedMathValue<Rt>* right) noexcept : mLeft(left), mRight(right) {}

    Operand<L> mLeft;
    Operand<Rt> mRight;
};

/// The operator that `Operation` says. Two of one class are equal when their operands are.
template <class Operation, class L, class Rt>
class TARQ_API BinaryMathValue final : public OperatorMathValue<typename Operation::template Result<L>, L, Rt> {
    using Result = typename Operation::template Result<L>;
    using Base = OperatorMathValue<Result, L, Rt>;

public:
    /// Takes the operands over.
    BinaryMathValue(TypedMathValue<L>* left, TypedMathValue<Rt>* right) noexcept;

    using Base::getValue;
    Expression::Operation getOperationType() override;
    MathValue* merge() override;
    void getValue(Result& result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    using Evaluator = typename TypedMathValue<Result>::Evaluator;

    /// For operands of these kinds.
    template <OperandKind Left, OperandKind Right>
    static Result evaluateAs(TypedMathValue<Result>& node, VariableAccessor* accessor);
    /// Where the left operand is arithmetic of two leaves, as in (a * 2) + b: computes that in the same call.
    template <class Inner, OperandKind Right>
    static Result evaluateBoth(TypedMathValue<Result>& node, VariableAccessor* accessor);
    template <OperandKind Right>
    Evaluator chooseForBoth() const noexcept;
    void chooseEvaluator() noexcept;
};

template <class L, class Rt>
using AdditionMathValue = BinaryMathValue<Operations::Addition, L, Rt>;
template <class L, class Rt>
using SubstractionMathValue = BinaryMathValue<Operations::Substraction, L, Rt>;
template <class L, class Rt>
using MultiplicationMathValue = BinaryMathValue<Operations::Multiplication, L, Rt>;
template <class L, class Rt>
using DivisionMathValue = BinaryMathValue<Operations::Division, L, Rt>;
template <class L, class Rt>
using SmallerMathValue = BinaryMathValue<Operations::Smaller, L, Rt>;
template <class L, class Rt>
using SmallerEqualMathValue = BinaryMathValue<Operations::SmallerEqual, L, Rt>;
template <class L, class Rt>
using EqualMathValue = BinaryMathValue<Operations::Equal, L, Rt>;
template <class L, class Rt>
using GreaterEqualMathValue = BinaryMathValue<Operations::GreaterEqual, L, Rt>;
template <class L, class Rt>
using GreaterMathValue = BinaryMathValue<Operations::Greater, L, Rt>;
template <class L, class Rt>
using UnequalMathValue = BinaryMathValue<Operations::Unequal, L, Rt>;
/// The operands of these two may change places: then it is still the same formula.
using AndMathValue = BinaryMathValue<Operations::And, bool, bool>;
using OrMathValue = BinaryMathValue<Operations::Or, bool, bool>;

/// The logical not.
class TARQ_API NegatedMathValue final : public TypedMathValue<bool> {
public:
    /// Takes the operand over.
    explicit NegatedMathValue(TypedMathValue<bool>* operand) noexcept;

    bool isConstant() override;
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    using TypedMathValue<bool>::getValue;
    void getValue(bool& result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    template <OperandKind Kind>
    static bool evaluateAs(TypedMathValue<bool>& node, VariableAccessor* accessor);

    Operand<bool> mOperand;
};

} // namespace Tarq::Common::Parser::Formula
