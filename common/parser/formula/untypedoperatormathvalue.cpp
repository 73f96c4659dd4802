#include "common/parser/formula/untypedoperatormathvalue.h"

#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/internal/nodes.h"

namespace Tarq::Common::Parser::Formula {

using Reflection::Datatype::DatatypeBase;

namespace {

using Call = void (DatatypeBase::*)(void* result, const void* left, const void* right) const;

/// How a type is asked to compute.
template <class Operation>
constexpr Call cCall = nullptr;
template <>
constexpr Call cCall<Operations::Addition> = &DatatypeBase::callAddition;
template <>
constexpr Call cCall<Operations::Substraction> = &DatatypeBase::callSubstraction;
template <>
constexpr Call cCall<Operations::Multiplication> = &DatatypeBase::callMultiplication;
template <>
constexpr Call cCall<Operations::Division> = &DatatypeBase::callDivision;
template <>
constexpr Call cCall<Operations::Smaller> = &DatatypeBase::callSmaller;
template <>
constexpr Call cCall<Operations::SmallerEqual> = &DatatypeBase::callSmallerEqual;
template <>
constexpr Call cCall<Operations::Equal> = &DatatypeBase::callEqual;
template <>
constexpr Call cCall<Operations::GreaterEqual> = &DatatypeBase::callGreaterEqual;
template <>
constexpr Call cCall<Operations::Greater> = &DatatypeBase::callGreater;
template <>
constexpr Call cCall<Operations::Unequal> = &DatatypeBase::callUnequal;

/// Numbers commute; what a type makes of its operators is taken to as well.
template <class Operation>
constexpr bool cCommutes =
    std::same_as<Operation, Operations::Addition> || std::same_as<Operation, Operations::Multiplication>;

} // namespace

template <class Base>
UntypedOperands<Base>::UntypedOperands(const DatatypeBase& datatype, MathValue* left, MathValue* right)
    : mDatatype(datatype), mLeft(left), mRight(right), mLeftValue(datatype, this->getAllocator()),
      mRightValue(datatype, this->getAllocator()) {}

template <class Base>
UntypedOperands<Base>::~UntypedOperands() {
    delete mLeft;
    delete mRight;
}

template <class Base>
bool UntypedOperands<Base>::isConstant() {
    return mLeft->isConstant() && mRight->isConstant();
}

template <class Base>
void UntypedOperands<Base>::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mLeft->getContainingVariables(accessIDs);
    mRight->getContainingVariables(accessIDs);
}

template <class Base>
void UntypedOperands<Base>::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mLeft->replaceVariableAccessID(oldID, newID);
    mRight->replaceVariableAccessID(oldID, newID);
}

template <class Base>
DatatypeID UntypedOperands<Base>::getLeftDatatypeID() {
    return mLeft->getDatatypeID();
}

template <class Base>
DatatypeID UntypedOperands<Base>::getRightDatatypeID() {
    return mRight->getDatatypeID();
}

template <class Base>
void UntypedOperands<Base>::evaluateOperands(VariableAccessor* accessor) {
    mLeft->getValue(mLeftValue.get(), accessor);
    mRight->getValue(mRightValue.get(), accessor);
}

template class UntypedOperands<MathValue>;
template class UntypedOperands<TypedMathValue<bool>>;

DatatypeID UntypedOperatorMathValue::getDatatypeID() {
    return getOperandDatatype().getDatatypeID();
}

MathValue* UntypedOperatorMathValue::merge() {
    if (!isConstant())
        return nullptr;
    DatatypeValue value(getOperandDatatype(), getAllocator());
    getValue(value.get(), nullptr);
    auto* const node = new (getAllocator()) UntypedAtomicMathValue(value.get(), getOperandDatatype());
    value.release();
    return node;
}

MathValue* UntypedComparisionMathValue::merge() {
    if (!isConstant())
        return nullptr;
    bool value = false;
    TypedMathValue<bool>::getValue(&value, nullptr);
    return new (getAllocator()) AtomicMathValue<bool>(value);
}

template <class Operation, class Base>
UntypedBinaryMathValue<Operation, Base>::UntypedBinaryMathValue(const DatatypeBase& datatype, MathValue* left,
                                                                MathValue* right)
    : Base(datatype, left, right) {}

template <class Operation, class Base>
Expression::Operation UntypedBinaryMathValue<Operation, Base>::getOperationType() {
    return cCompares ? Operation::cOperation : Expression::OPERATION_NONE;
}

template <class Operation, class Base>
void UntypedBinaryMathValue<Operation, Base>::getValue(std::conditional_t<cCompares, bool&, void*> result,
                                                       VariableAccessor* accessor) {
    this->evaluateOperands(accessor);
    void* place;
    if constexpr (cCompares)
        place = &result;
    else
        place = result;
    (this->getOperandDatatype().*cCall<Operation>)(place, this->getLeftValue(), this->getRightValue());
}

template <class Operation, class Base>
MathValue* UntypedBinaryMathValue<Operation, Base>::clone() {
    NodePtr<> left = cloneOf(*this->getLeft());
    NodePtr<> right = cloneOf(*this->getRight());
    auto* const node =
        new (this->getAllocator()) UntypedBinaryMathValue(this->getOperandDatatype(), left.get(), right.get());
    letGoOf(left, right);
    return node;
}

template <class Operation, class Base>
bool UntypedBinaryMathValue<Operation, Base>::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && (!cCompares || same->getLeftDatatypeID() == this->getLeftDatatypeID()) &&
           areEqualPairs(*this->getLeft(), *this->getRight(), *same->getLeft(), *same->getRight(),
                         cCommutes<Operation>);
}

template <class Operation, class Base>
uint32 UntypedBinaryMathValue<Operation, Base>::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<UntypedBinaryMathValue>();
}

template class UntypedBinaryMathValue<Operations::Addition, UntypedOperatorMathValue>;
template class UntypedBinaryMathValue<Operations::Substraction, UntypedOperatorMathValue>;
template class UntypedBinaryMathValue<Operations::Multiplication, UntypedOperatorMathValue>;
template class UntypedBinaryMathValue<Operations::Division, UntypedOperatorMathValue>;
template class UntypedBinaryMathValue<Operations::Smaller, UntypedComparisionMathValue>;
template class UntypedBinaryMathValue<Operations::SmallerEqual, UntypedComparisionMathValue>;
template class UntypedBinaryMathValue<Operations::Equal, UntypedComparisionMathValue>;
template class UntypedBinaryMathValue<Operations::GreaterEqual, UntypedComparisionMathValue>;
template class UntypedBinaryMathValue<Operations::Greater, UntypedComparisionMathValue>;
template class UntypedBinaryMathValue<Operations::Unequal, UntypedComparisionMathValue>;

} // namespace Tarq::Common::Parser::Formula
