#include "common/parser/formula/functionmathvalue.h"

#include "common/parser/formula/internal/nodes.h"
#include "common/parser/formula/variableaccessor.h"
#include "common/reflection/function/functionregistrar.h"

namespace Tarq::Common::Parser::Formula {

namespace {

void callFunction(void* result, FunctionID functionID, FunctionArguments& arguments, VariableAccessor* accessor) {
    const auto& list = arguments.evaluate(accessor);
    if (!TARQ_ASSERT(accessor, "a function can only be called with an accessor"))
        return;
    const Reflection::Function::FunctionRegistrar* const registrar = accessor->getFunctionRegistrar();
    if (TARQ_ASSERT(registrar, "a function can only be called with a registrar"))
        registrar->callFunction(result, functionID, nullptr, list);
}

} // namespace

template <class T>
void FunctionMathValue<T>::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mArguments.getContainingVariables(accessIDs);
}

template <class T>
void FunctionMathValue<T>::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mArguments.replaceVariableAccessID(oldID, newID);
}

template <class T>
void FunctionMathValue<T>::getValue(T& result, VariableAccessor* accessor) {
    callFunction(&result, mFunctionID, mArguments, accessor);
}

template <class T>
MathValue* FunctionMathValue<T>::clone() {
    return new (this->getAllocator()) FunctionMathValue(*this, this->getAllocator());
}

template <class T>
bool FunctionMathValue<T>::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && same->mFunctionID == mFunctionID && mArguments.isEqual(same->mArguments);
}

template <class T>
uint32 FunctionMathValue<T>::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<FunctionMathValue>();
}

template class FunctionMathValue<bool>;
template class FunctionMathValue<int32>;
template class FunctionMathValue<uint32>;
template class FunctionMathValue<int64>;
template class FunctionMathValue<float>;
template class FunctionMathValue<String>;

DatatypeID UntypedFunctionMathValue::getDatatypeID() {
    return mReturnValueType;
}

bool UntypedFunctionMathValue::isConstant() {
    return false;
}

void UntypedFunctionMathValue::getContainingVariables(Container::Vector<uint32>& accessIDs) const {
    mArguments.getContainingVariables(accessIDs);
}

void UntypedFunctionMathValue::replaceVariableAccessID(uint32 oldID, uint32 newID) {
    mArguments.replaceVariableAccessID(oldID, newID);
}

void UntypedFunctionMathValue::getValue(void* result, VariableAccessor* accessor) {
    callFunction(result, mFunctionID, mArguments, accessor);
}

MathValue* UntypedFunctionMathValue::clone() {
    return new (getAllocator()) UntypedFunctionMathValue(*this, getAllocator());
}

bool UntypedFunctionMathValue::isEqual(MathValue* other) {
    auto* const same = asSameClass(*this, other);
    return same && same->mFunctionID == mFunctionID && same->mReturnValueType == mReturnValueType &&
           mArguments.isEqual(same->mArguments);
}

uint32 UntypedFunctionMathValue::getMathValueTypeID() {
    return MathValueTypeIDHolder::getIDOf<UntypedFunctionMathValue>();
}

} // namespace Tarq::Common::Parser::Formula
