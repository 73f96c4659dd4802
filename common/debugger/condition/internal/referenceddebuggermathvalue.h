#pragma once

#include "common/debug/assert.h"
#include "common/debugger/condition/debuggervariableaccessor.h"
#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/variabletype.h"
#include "common/export.h"
#include "common/parser/formula/mathvalue.h"

#include <type_traits>

/// The variables in conditions.
namespace Tarq::Common::Debugger {

/// What these nodes share: each is one variable of an object type, and reads it from the instance that the accessor
/// names, which is a `DebuggerVariableAccessor`.
///
/// Ownership: the variable's type outlives the node. Nobody asks such a node for access ids, for the place of its value
/// or for its like: the tree belongs to a breakpoint, which evaluates and deletes it.
template <class Base, class Node>
class TARQ_LOCAL DebuggerVariableNode : public Base {
public:
    const VariableType& getVariable() const noexcept { return mVariable; }

    bool isConstant() override { return false; }
    void getContainingVariables(Container::Vector<uint32>&) const override { TARQ_FAIL("not needed"); }
    bool isReferenceValue() const override { return true; }
    void replaceVariableAccessID(uint32, uint32) override { TARQ_FAIL("not needed"); }
    /// Null: member functions work on copies, so that no condition writes into the host's memory.
    void* getValueReference(Parser::Formula::VariableAccessor*) override {
        TARQ_FAIL("not needed");
        return nullptr;
    }
    Parser::Formula::MathValue* clone() override { return new (this->getAllocator()) Node(mVariable); }
    bool isEqual(Parser::Formula::MathValue*) override {
        TARQ_FAIL("not needed");
        return false;
    }
    uint32 getMathValueTypeID() override { return Parser::Formula::MathValueTypeIDHolder::getIDOf<Node>(); }

protected:
    explicit DebuggerVariableNode(const VariableType& variable) noexcept : mVariable(variable) {}

    static DebuggerVariableAccessor& asDebugger(Parser::Formula::VariableAccessor* accessor) noexcept {
        return static_cast<DebuggerVariableAccessor&>(*accessor);
    }
    /// Where the value stands now. Null, which the accessor notes, when the variable is not registered any more.
    const void* find(Parser::Formula::VariableAccessor* accessor) const {
        DebuggerVariableAccessor& debugger = asDebugger(accessor);
        const void* const place = debugger.getInstance().getVariableValuePointer(mVariable);
        if (!place) [[unlikely]]
            debugger.noteMissing();
        return place;
    }

private:
    const VariableType& mVariable;
};

/// A variable of a built-in type. Its value is a default one when the variable is not registered any more.
template <class T, class Node>
class TARQ_LOCAL TypedDebuggerVariableNode : public DebuggerVariableNode<Parser::Formula::VariableMathValue<T>, Node> {
public:
    using Parser::Formula::TypedMathValue<T>::getValue;
    void getValue(T& result, Parser::Formula::VariableAccessor* accessor) override {
        if (const void* const place = this->find(accessor))
            result = *static_cast<const T*>(place);
        else if constexpr (std::is_default_constructible_v<T>)
            result = T();
        else
            result = T(this->getAllocator());
    }
    /// The place of the value as what it is. Formulas do not ask for it: asserts, and null.
    virtual T* getTypedValueReference(Parser::Formula::VariableAccessor*) {
        TARQ_FAIL("not implemented - not needed");
        return nullptr;
    }

protected:
    explicit TypedDebuggerVariableNode(const VariableType& variable) noexcept
        : DebuggerVariableNode<Parser::Formula::VariableMathValue<T>, Node>(variable) {
        if constexpr (std::is_arithmetic_v<T>)
            this->setEvaluator(&read);
    }

private:
    static T read(Parser::Formula::TypedMathValue<T>& node, Parser::Formula::VariableAccessor* accessor) {
        const void* const place = static_cast<TypedDebuggerVariableNode&>(node).find(accessor);
        return place ? *static_cast<const T*>(place) : T();
    }
};

/// A variable of one of the element types.
template <class T>
class TARQ_LOCAL ReferencedDebuggerMathValue final
    : public TypedDebuggerVariableNode<T, ReferencedDebuggerMathValue<T>> {
public:
    explicit ReferencedDebuggerMathValue(const VariableType& variable) noexcept
        : TypedDebuggerVariableNode<T, ReferencedDebuggerMathValue<T>>(variable) {}
};

/// A variable that is a container of one of them.
template <class T>
class TARQ_LOCAL ReferencedDebuggerMathValueVector final
    : public TypedDebuggerVariableNode<Container::Vector<T>, ReferencedDebuggerMathValueVector<T>> {
public:
    explicit ReferencedDebuggerMathValueVector(const VariableType& variable) noexcept
        : TypedDebuggerVariableNode<Container::Vector<T>, ReferencedDebuggerMathValueVector<T>>(variable) {}
};

/// A variable of any other type; those have no values in conditions.
class TARQ_LOCAL UntypedReferencedDebuggerMathValue final
    : public DebuggerVariableNode<Parser::Formula::MathValue, UntypedReferencedDebuggerMathValue> {
public:
    explicit UntypedReferencedDebuggerMathValue(const VariableType& variable)
        : DebuggerVariableNode(variable), mDatatypeID(variable.getDatatypeID()) {}

    Reflection::Datatype::DatatypeID getDatatypeID() override { return mDatatypeID; }
    /// Asserts; `result` is left as it is, and the accessor notes that there is no value.
    void getValue(void*, Parser::Formula::VariableAccessor* accessor) override {
        TARQ_FAIL("ToDo: implement");
        asDebugger(accessor).noteMissing();
    }

private:
    Reflection::Datatype::DatatypeID mDatatypeID;
};

/// Makes the node of the class that the variable's type asks for; the caller owns it. Throws `OutOfMemoryException`.
Parser::Formula::MathValue* makeReferencedMathValue(const VariableType& variable,
                                                    const Memory::AllocatorPtr& allocator);

} // namespace Tarq::Common::Debugger
