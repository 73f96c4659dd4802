#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/parser/formula/expression.h"
#include "common/parser/formula/mathvaluetypeidholder.h"
#include "common/reflection/datatype/typeddatatype.h"
#include "common/types.h"

#include <type_traits>

namespace Tarq::Common::Parser::Formula {

class VariableAccessor;
using Reflection::Datatype::DatatypeID;

/// A node of a formula: knows the type of its value, and computes it when it is asked.
///
///     int32 result = 0;
///     formula->getValue(&result, &accessor);
///
/// A host derives its variables from `VariableMathValue`, and what else it needs from `TypedMathValue` or this.
///
/// Ownership: a node owns its operands; whoever has the root deletes it. A new node, and what takes the place of one,
/// is made on an allocator: `new (allocator) ...`. A constructor takes its operands over when it returns. Threads: a
/// tree belongs to one thread at a time, for evaluation too. Different trees have nothing to do with each other. The
/// registry of data types that the tree was made with outlives it. Evaluation, comparison, copying and deletion go down
/// the tree by recursion; what `Expression` parses is shallow enough for that.
class TARQ_API MathValue : public Memory::MemoryManaged {
public:
    ~MathValue() override;

    virtual DatatypeID getDatatypeID() = 0;
    /// Whether the value is the same whenever it is computed, and needs no accessor.
    virtual bool isConstant();
    virtual Expression::Operation getOperationType();
    virtual FunctionType getFunctionType();
    /// Appends the access ids of the variables that the value is computed from, in the order of the formula, repeated
    /// as they are there.
    virtual void getContainingVariables(Container::Vector<uint32>& accessIDs) const;
    /// Computes what is constant, once. Returns a node of the same type that is to take the place of this one, which
    /// the caller then deletes; null when there is none, although operands may have been replaced.
    virtual MathValue* merge();
    /// Whether the node is a variable whose value has a place of its own.
    virtual bool isReferenceValue() const;
    virtual void replaceVariableAccessID(uint32 oldID, uint32 newID);
    /// The types of an operator's operands; `INVALID_DATATYPE_ID` for other nodes.
    virtual DatatypeID getLeftDatatypeID();
    virtual DatatypeID getRightDatatypeID();
    /// Assigns the value to the one at `result`, which is of this type. `accessor` may be null where the tree has
    /// neither variables nor functions. What a function throws passes on.
    virtual void getValue(void* result, VariableAccessor* accessor) = 0;
    /// Where a reference value stands; member functions then work on it there. Null when it gives no address.
    virtual void* getValueReference(VariableAccessor* accessor);
    /// A copy with everything below, on the node's allocator. Throws `OutOfMemoryException`; never null.
    virtual MathValue* clone() = 0;
    /// Whether both are the same formula. False for null.
    virtual bool isEqual(MathValue* other) = 0;
    /// The number of the node's class: `MathValueTypeIDHolder::getIDOf<Class>()`.
    virtual uint32 getMathValueTypeID() = 0;

protected:
    MathValue();
};

/// A node whose value is a T, which is registered in the module that makes the node, and can be made without arguments,
/// or from an allocator. No export: each module has its own, which knows its own types.
template <class T>
class TypedMathValue : public MathValue {
    static_assert(std::is_same_v<T, Reflection::Datatype::NativeType<T>>,
                  "of types that differ in spelling, one counts");

public:
    DatatypeID getDatatypeID() override { return Reflection::Datatype::GET_DATATYPE_ID<T>(); }
    void getValue(void* result, VariableAccessor* accessor) override { getValue(*static_cast<T*>(result), accessor); }
    virtual void getValue(T& result, VariableAccessor* accessor) = 0;
    /// The same value, returned. The fastest way to it: no more than one call for each operator.
    T evaluate(VariableAccessor* accessor) { return mEvaluator(*this, accessor); }

protected:
    /// Does what `getValue` does.
    using Evaluator = T (*)(TypedMathValue& node, VariableAccessor* accessor);

    TypedMathValue() noexcept : TypedMathValue(&callGetValue) {}
    explicit TypedMathValue(Evaluator evaluator) noexcept : mEvaluator(evaluator) {}

    void setEvaluator(Evaluator evaluator) noexcept { mEvaluator = evaluator; }

private:
    static T callGetValue(TypedMathValue& node, VariableAccessor* accessor) {
        T value = makeValue(node.getAllocator());
        node.getValue(value, accessor);
        return value;
    }
    static T makeValue([[maybe_unused]] const Memory::AllocatorPtr& allocator) {
        if constexpr (std::is_default_constructible_v<T>)
            return T{};
        else
            return T(allocator);
    }

    Evaluator mEvaluator;
};

/// Base of the nodes whose value is new each time it is asked for.
template <class T>
class VariableMathValue : public TypedMathValue<T> {
public:
    bool isConstant() override { return false; }

protected:
    using TypedMathValue<T>::TypedMathValue;
};

extern template class TARQ_API TypedMathValue<bool>;
extern template class TARQ_API TypedMathValue<int32>;
extern template class TARQ_API TypedMathValue<uint32>;
extern template class TARQ_API TypedMathValue<int64>;
extern template class TARQ_API TypedMathValue<float>;
extern template class TARQ_API TypedMathValue<String>;
extern template class TARQ_API VariableMathValue<bool>;
extern template class TARQ_API VariableMathValue<int32>;
extern template class TARQ_API VariableMathValue<uint32>;
extern template class TARQ_API VariableMathValue<int64>;
extern template class TARQ_API VariableMathValue<float>;
extern template class TARQ_API VariableMathValue<String>;

} // namespace Tarq::Common::Parser::Formula
