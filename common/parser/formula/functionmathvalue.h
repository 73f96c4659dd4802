#pragma once

#include "common/parser/formula/functionarguments.h"
#include "common/parser/formula/mathvalue.h"
#include "common/reflection/function/functionid.h"

namespace Tarq::Common::Parser::Formula {

using Reflection::Function::FunctionID;

/// A call of a function that the accessor's registrar provides. Two calls are equal when function and arguments are.
///
/// Evaluation asserts that there are an accessor, a registrar, and the function; the result stays what it is otherwise,
/// and when the registrar's function takes other arguments.
template <class T>
class TARQ_API FunctionMathValue final : public VariableMathValue<T> {
public:
    /// Takes the arguments over, and empties `arguments`; there are at most ten. Throws `OutOfMemoryException`; they
    /// are still the caller's then.
    FunctionMathValue(FunctionID functionID, FunctionArguments::Nodes& arguments)
        : mFunctionID(functionID), mArguments(arguments, this->getAllocator()) {}

    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    using TypedMathValue<T>::getValue;
    void getValue(T& result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    /// A copy, for `clone`.
    FunctionMathValue(const FunctionMathValue& other, const Memory::AllocatorPtr& allocator)
        : mFunctionID(other.mFunctionID), mArguments(other.mArguments, allocator) {}

    FunctionID mFunctionID;
    FunctionArguments mArguments;
};

/// The same for a function whose result is of any type.
class TARQ_API UntypedFunctionMathValue final : public MathValue {
public:
    UntypedFunctionMathValue(FunctionID functionID, DatatypeID returnValueType, FunctionArguments::Nodes& arguments)
        : mFunctionID(functionID), mReturnValueType(returnValueType), mArguments(arguments, getAllocator()) {}

    DatatypeID getDatatypeID() override;
    bool isConstant() override;
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    void getValue(void* result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    UntypedFunctionMathValue(const UntypedFunctionMathValue& other, const Memory::AllocatorPtr& allocator)
        : mFunctionID(other.mFunctionID), mReturnValueType(other.mReturnValueType),
          mArguments(other.mArguments, allocator) {}

    FunctionID mFunctionID;
    DatatypeID mReturnValueType;
    FunctionArguments mArguments;
};

extern template class TARQ_API FunctionMathValue<bool>;
extern template class TARQ_API FunctionMathValue<int32>;
extern template class TARQ_API FunctionMathValue<uint32>;
extern template class TARQ_API FunctionMathValue<int64>;
extern template class TARQ_API FunctionMathValue<float>;
extern template class TARQ_API FunctionMathValue<String>;

} // namespace Tarq::Common::Parser::Formula
