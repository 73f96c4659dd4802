#pragma once

#include "common/parser/formula/datatypevalue.h"
#include "common/parser/formula/functionarguments.h"
#include "common/parser/formula/functionmathvalue.h"
#include "common/parser/formula/mathvalue.h"

namespace Tarq::Common::Parser::Formula {

/// What the calls of member functions share: an object, which is the value of a node, and the arguments. Where the node
/// is a reference value that gives its address, and the accessor is not read-only, that is the object; otherwise it is
/// computed into a place of its own.
class TARQ_API MemberCall {
public:
    using DatatypeBase = Reflection::Datatype::DatatypeBase;

    /// Takes the object and the arguments over, and empties `arguments`; there are at most ten. `datatype` is the
    /// object's type. Throws `OutOfMemoryException`; they are still the caller's then.
    MemberCall(FunctionID functionID, MathValue* object, const DatatypeBase& datatype,
               FunctionArguments::Nodes& arguments, const Memory::AllocatorPtr& allocator)
        : mFunctionID(functionID), mObjectPlace(datatype, allocator), mArguments(arguments, allocator),
          mObject(object) {}
    /// A copy with copies of the nodes.
    MemberCall(const MemberCall& other, const Memory::AllocatorPtr& allocator)
        : mFunctionID(other.mFunctionID), mObjectPlace(other.mObjectPlace.getDatatype(), allocator),
          mArguments(other.mArguments, allocator), mObject(other.mObject->clone()) {}
    ~MemberCall() { delete mObject; }
    MemberCall(const MemberCall&) = delete;
    MemberCall& operator=(const MemberCall&) = delete;

    /// Evaluates the arguments, then the object, and calls the function.
    void call(void* result, VariableAccessor* accessor);

    /// Whether functions and arguments are the same, whatever the objects are.
    bool isEqual(const MemberCall& other) const;
    MathValue& getObject() const noexcept { return *mObject; }
    FunctionArguments& getArguments() noexcept { return mArguments; }
    const FunctionArguments& getArguments() const noexcept { return mArguments; }

private:
    FunctionID mFunctionID;
    DatatypeValue mObjectPlace;
    FunctionArguments mArguments;
    MathValue* mObject;
};

/// A call of a member function. Two calls are equal when function and arguments are, whatever they work on.
template <class T>
class TARQ_API DatatypeFunctionMathValue final : public VariableMathValue<T> {
public:
    /// As for `MemberCall`.
    DatatypeFunctionMathValue(FunctionID functionID, MathValue* object, const MemberCall::DatatypeBase& datatype,
                              FunctionArguments::Nodes& arguments)
        : mCall(functionID, object, datatype, arguments, this->getAllocator()) {}

    /// Those of the arguments; so does the next one.
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    using TypedMathValue<T>::getValue;
    void getValue(T& result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    DatatypeFunctionMathValue(const DatatypeFunctionMathValue& other, const Memory::AllocatorPtr& allocator)
        : mCall(other.mCall, allocator) {}

    MemberCall mCall;
};

/// The same for a function whose result is of any type.
class TARQ_API UntypedDatatypeFunctionMathValue final : public MathValue {
public:
    UntypedDatatypeFunctionMathValue(FunctionID functionID, DatatypeID returnValueType, MathValue* object,
                                     const MemberCall::DatatypeBase& datatype, FunctionArguments::Nodes& arguments)
        : mReturnValueType(returnValueType), mCall(functionID, object, datatype, arguments, getAllocator()) {}

    DatatypeID getDatatypeID() override;
    bool isConstant() override;
    /// Those of the object, then those of the arguments; so does the next one.
    void getContainingVariables(Container::Vector<uint32>& accessIDs) const override;
    void replaceVariableAccessID(uint32 oldID, uint32 newID) override;
    void getValue(void* result, VariableAccessor* accessor) override;
    MathValue* clone() override;
    bool isEqual(MathValue* other) override;
    uint32 getMathValueTypeID() override;

private:
    UntypedDatatypeFunctionMathValue(const UntypedDatatypeFunctionMathValue& other,
                                     const Memory::AllocatorPtr& allocator)
        : mReturnValueType(other.mReturnValueType), mCall(other.mCall, allocator) {}

    DatatypeID mReturnValueType;
    MemberCall mCall;
};

extern template class TARQ_API DatatypeFunctionMathValue<bool>;
extern template class TARQ_API DatatypeFunctionMathValue<int32>;
extern template class TARQ_API DatatypeFunctionMathValue<uint32>;
extern template class TARQ_API DatatypeFunctionMathValue<int64>;
extern template class TARQ_API DatatypeFunctionMathValue<float>;

} // namespace Tarq::Common::Parser::Formula
