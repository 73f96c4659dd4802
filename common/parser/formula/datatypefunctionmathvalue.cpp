#include "common/parser/formula/datatypefunctionmathvalue.h"

#include "common/parser/formula/internal/nodes.h"
#include "common/parser/formula/variableaccessor.h"

namespace Tarq::Common::Parser::Formula {

void MemberCall::call(void* result, VariableAccessor* accessor) {
    const auto& list = mArguments.evaluate(accessor);
    const bool isCopied = accessor && accessor->isReadOnly();
    void* object = !isCopied && mObject->isReferenceValue() ? mObject->getValueReference(accessor) : nullptr;
    if (!object) {
        object = mObjectPlace.get();
        mObject->getValue(object, accessor);
    }
    mObjectPlace.getDatatype().callFunction(result, mFunctionID, object, list);
}

bool MemberCall::isEqual(const MemberCall& other) const {
    return mFunctionID == other.mFunctionID && mArguments.isEqual(other.mArguments);
}

template <class T>
void DatatypeFunctionMathValue<T>::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mCall.getArguments().getContainingVariables(accessIDs);
}

template <class T>
void DatatypeFunctionMathValue<T>::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mCall.getArguments().replaceVariableAccessID(oldID, newID);
}

template <class T>
void DatatypeFunctionMathValue<T>::getValue(T& result, VariableAccessor* accessor) {
    mCall.call(&result, accessor);
}

template <class T>
MathValue* DatatypeFunctionMathValue<T>::clone() {
    return new (this->getAllocator()) DatatypeFunctionMathValue(*this, this->getAllocator());
}

template <class T>
bool DatatypeFunctionMathValue<T>::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && mCall.isEqual(same->mCall);
}

template <class T>
uint32 DatatypeFunctionMathValue<T>::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<DatatypeFunctionMathValue>();
}

template class DatatypeFunctionMathValue<bool>;
template class DatatypeFunctionMathValue<int32>;
template class DatatypeFunctionMathValue<uint32>;
template class DatatypeFunctionMathValue<int64>;
template class DatatypeFunctionMathValue<float>;

DatatypeID UntypedDatatypeFunctionMathValue::getDatatypeID() {
    return mReturnValueType;
}

bool UntypedDatatypeFunctionMathValue::isConstant() {
    return false;
}

void UntypedDatatypeFunctionMathValue::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mCall.getObject().getContainingVariables(accessIDs);
    mCall.getArguments().getContainingVariables(accessIDs);
}

void UntypedDatatypeFunctionMathValue::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mCall.getObject().replaceVariableAccessID(oldID, newID);
    mCall.getArguments().replaceVariableAccessID(oldID, newID);
}

void UntypedDatatypeFunctionMathValue::getValue(void* result, VariableAccessor* accessor) {
    mCall.call(result, accessor);
}

MathValue* UntypedDatatypeFunctionMathValue::clone() {
    return new (getAllocator()) UntypedDatatypeFunctionMathValue(*this, getAllocator());
}

bool UntypedDatatypeFunctionMathValue::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && same->mReturnValueType == mReturnValueType && mCall.isEqual(same->mCall);
}

uint32 UntypedDatatypeFunctionMathValue::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<UntypedDatatypeFunctionMathValue>();
}

} // namespace Tarq::Common::Parser::Formula
