#include "common/parser/formula/operatormathvalue.h"

#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/internal/nodes.h"

namespace Tarq::Common::Parser::Formula {

template <class R, class L, class Rt>
bool OperatorMathValue<R, L, Rt>::isConstant() {
    return mLeft->isConstant() && mRight->isConstant();
}

template <class R, class L, class Rt>
Expression::Operation OperatorMathValue<R, L, Rt>::getOperationType() {
    return Expression::OPERATION_UNKNOWN;
}

template <class R, class L, class Rt>
void OperatorMathValue<R, L, Rt>::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mLeft->getContainingVariables(accessIDs);
    mRight->getContainingVariables(accessIDs);
}

template <class R, class L, class Rt>
MathValue* OperatorMathValue<R, L, Rt>::merge() {
    if (this->isConstant())
        return new (this->getAllocator()) AtomicMathValue<R>(this->evaluate(nullptr));
    mergeOperand(mLeft);
    mergeOperand(mRight);
    return nullptr;
}

template <class R, class L, class Rt>
void OperatorMathValue<R, L, Rt>::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mLeft->replaceVariableAccessID(oldID, newID);
    mRight->replaceVariableAccessID(oldID, newID);
}

template <class R, class L, class Rt>
DatatypeID OperatorMathValue<R, L, Rt>::getLeftDatatypeID() {
    return Reflection::Datatype::GET_DATATYPE_ID<L>();
}

template <class R, class L, class Rt>
DatatypeID OperatorMathValue<R, L, Rt>::getRightDatatypeID() {
    return Reflection::Datatype::GET_DATATYPE_ID<Rt>();
}

template <class Operation, class L, class Rt>
BinaryMathValue<Operation, L, Rt>::BinaryMathValue(TypedMathValue<L>* left, TypedMathValue<Rt>* right) noexcept
    : Base(left, right) {
    chooseEvaluator();
}

template <class Operation, class L, class Rt>
Expression::Operation BinaryMathValue<Operation, L, Rt>::getOperationType() {
    return Operation::cOperation;
}

template <class Operation, class L, class Rt>
void BinaryMathValue<Operation, L, Rt>::getValue(Result& result, VariableAccessor* accessor) {
    result = this->evaluate(accessor);
}

template <class Operation, class L, class Rt>
template <OperandKind Left, OperandKind Right>
auto BinaryMathValue<Operation, L, Rt>::evaluateAs(TypedMathValue<Result>& node, VariableAccessor* accessor) -> Result {
    const auto& self = static_cast<const BinaryMathValue&>(node);
    const L left = self.mLeft.template evaluate<Left>(accessor);
    const Rt right = self.mRight.template evaluate<Right>(accessor);
    return Operation::compute(left, right);
}

template <class Operation, class L, class Rt>
template <class Inner, OperandKind Right>
auto BinaryMathValue<Operation, L, Rt>::evaluateBoth(TypedMathValue<Result>& node, VariableAccessor* accessor)
    -> Result {
    const auto& self = static_cast<const BinaryMathValue&>(node);
    const auto& inner = static_cast<const BinaryMathValue<Inner, L, L>&>(*self.mLeft.get());
    const L left = Inner::compute(inner.mLeft.evaluateLeaf(accessor), inner.mRight.evaluateLeaf(accessor));
    const Rt right = self.mRight.template evaluate<Right>(accessor);
    return Operation::compute(left, right);
}

template <class Operation, class L, class Rt>
template <OperandKind Right>
auto BinaryMathValue<Operation, L, Rt>::chooseForBoth() const noexcept -> Evaluator {
    const auto evaluatorFor = [this]<class Inner>(Inner) -> Evaluator {
        const auto* const inner = dynamic_cast<const BinaryMathValue<Inner, L, L>*>(this->mLeft.get());
        const bool hasLeaves =
            inner && inner->mLeft.getKind() != OperandKind::NODE && inner->mRight.getKind() != OperandKind::NODE;
        return hasLeaves ? &evaluateBoth<Inner, Right> : nullptr;
    };
    switch (this->mLeft.get()->getOperationType()) {
    case Expression::OPERATION_ADDITION:
        return evaluatorFor(Operations::Addition());
    case Expression::OPERATION_SUBSTRACTION:
        return evaluatorFor(Operations::Substraction());
    case Expression::OPERATION_MULTIPLICATION:
        return evaluatorFor(Operations::Multiplication());
    case Expression::OPERATION_DIVISION:
        return evaluatorFor(Operations::Division());
    default:
        return nullptr;
    }
}

template <class Operation, class L, class Rt>
void BinaryMathValue<Operation, L, Rt>::chooseEvaluator() noexcept {
    static constexpr auto cNode = OperandKind::NODE;
    static constexpr auto cConstant = OperandKind::CONSTANT;
    static constexpr auto cField = OperandKind::FIELD;
    static constexpr Evaluator cEvaluators[cOperandKinds][cOperandKinds] = {
        {&evaluateAs<cNode, cNode>, &evaluateAs<cNode, cConstant>, &evaluateAs<cNode, cField>},
        {&evaluateAs<cConstant, cNode>, &evaluateAs<cConstant, cConstant>, &evaluateAs<cConstant, cField>},
        {&evaluateAs<cField, cNode>, &evaluateAs<cField, cConstant>, &evaluateAs<cField, cField>},
    };
    const OperandKind left = this->mLeft.getKind();
    const OperandKind right = this->mRight.getKind();
    Evaluator evaluator = nullptr;
    if constexpr (!std::same_as<L, bool>) {
        if (left == cNode && right == cConstant)
            evaluator = chooseForBoth<cConstant>();
        else if (left == cNode && right == cField)
            evaluator = chooseForBoth<cField>();
    }
    this->setEvaluator(evaluator ? evaluator
                                 : cEvaluators[static_cast<std::size_t>(left)][static_cast<std::size_t>(right)]);
}

template <class Operation, class L, class Rt>
MathValue* BinaryMathValue<Operation, L, Rt>::merge() {
    // When this throws, an operand may have become a constant, but the way to its value is still right.
    MathValue* const merged = Base::merge();
    chooseEvaluator();
    return merged;
}

template <class Operation, class L, class Rt>
MathValue* BinaryMathValue<Operation, L, Rt>::clone() {
    NodePtr<TypedMathValue<L>> left = cloneOf(*this->getLeft());
    NodePtr<TypedMathValue<Rt>> right = cloneOf(*this->getRight());
    auto* const node = new (this->getAllocator()) BinaryMathValue(left.get(), right.get());
    letGoOf(left, right);
    return node;
}

template <class Operation, class L, class Rt>
bool BinaryMathValue<Operation, L, Rt>::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && areEqualPairs(*this->getLeft(), *this->getRight(), *same->getLeft(), *same->getRight(),
                                 Operation::cCommutes);
}

template <class Operation, class L, class Rt>
uint32 BinaryMathValue<Operation, L, Rt>::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<BinaryMathValue>();
}

// What the parser makes. A class template's members are made for all of its kinds at once.

template class OperatorMathValue<bool, bool, bool>;
template class OperatorMathValue<bool, int32, int32>;
template class OperatorMathValue<bool, uint32, uint32>;
template class OperatorMathValue<bool, int64, int64>;
template class OperatorMathValue<bool, float, float>;

#define TARQ_MAKE_NUMBER_OPERATORS(T)                                                                                  \
    template class OperatorMathValue<T, T, T>;                                                                         \
    template class BinaryMathValue<Operations::Addition, T, T>;                                                        \
    template class BinaryMathValue<Operations::Substraction, T, T>;                                                    \
    template class BinaryMathValue<Operations::Multiplication, T, T>;                                                  \
    template class BinaryMathValue<Operations::Division, T, T>;                                                        \
    template class BinaryMathValue<Operations::Smaller, T, T>;                                                         \
    template class BinaryMathValue<Operations::SmallerEqual, T, T>;                                                    \
    template class BinaryMathValue<Operations::Equal, T, T>;                                                           \
    template class BinaryMathValue<Operations::GreaterEqual, T, T>;                                                    \
    template class BinaryMathValue<Operations::Greater, T, T>;                                                         \
    template class BinaryMathValue<Operations::Unequal, T, T>

TARQ_MAKE_NUMBER_OPERATORS(int32);
TARQ_MAKE_NUMBER_OPERATORS(uint32);
TARQ_MAKE_NUMBER_OPERATORS(int64);
TARQ_MAKE_NUMBER_OPERATORS(float);
#undef TARQ_MAKE_NUMBER_OPERATORS

template class BinaryMathValue<Operations::Equal, bool, bool>;
template class BinaryMathValue<Operations::Unequal, bool, bool>;
template class BinaryMathValue<Operations::And, bool, bool>;
template class BinaryMathValue<Operations::Or, bool, bool>;

NegatedMathValue::NegatedMathValue(TypedMathValue<bool>* operand) noexcept : mOperand(operand) {
    static constexpr Evaluator cEvaluators[cOperandKinds] = {
        &evaluateAs<OperandKind::NODE>, &evaluateAs<OperandKind::CONSTANT>, &evaluateAs<OperandKind::FIELD>};
    setEvaluator(cEvaluators[static_cast<std::size_t>(mOperand.getKind())]);
}

bool NegatedMathValue::isConstant() {
    return mOperand->isConstant();
}

void NegatedMathValue::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mOperand->getContainingVariables(accessIDs);
}

void NegatedMathValue::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mOperand->replaceVariableAccessID(oldID, newID);
}

void NegatedMathValue::getValue(bool& result, VariableAccessor* accessor) {
    result = evaluate(accessor);
}

template <OperandKind Kind>
bool NegatedMathValue::evaluateAs(TypedMathValue<bool>& node, VariableAccessor* accessor) {
    return !static_cast<const NegatedMathValue&>(node).mOperand.evaluate<Kind>(accessor);
}

MathValue* NegatedMathValue::clone() {
    NodePtr<TypedMathValue<bool>> operand = cloneOf(*mOperand.get());
    auto* const node = new (getAllocator()) NegatedMathValue(operand.get());
    letGoOf(operand);
    return node;
}

bool NegatedMathValue::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && mOperand->isEqual(same->mOperand.get());
}

uint32 NegatedMathValue::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<NegatedMathValue>();
}

} // namespace Tarq::Common::Parser::Formula
