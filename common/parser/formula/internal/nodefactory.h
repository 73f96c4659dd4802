#pragma once

#include "common/parser/formula/functionarguments.h"
#include "common/parser/formula/internal/nodes.h"
#include "common/parser/formula/mathvalue.h"
#include "common/reflection/function/functionid.h"

#include <string_view>

/// Chooses the class of a node by the type of its value or of its operands.
namespace Tarq::Common::Parser::Formula {

using Reflection::Datatype::DatatypeBase;

/// An operator of two operands, as formulas name it.
struct BinaryOperator {
    std::string_view name;
    const char* missing; ///< what is said of a type that does not support it
    /// Null for one that only "Boolean" has.
    bool (DatatypeBase::*isSupported)() const;
    /// Takes the operands over. Null, and they are still the caller's, when they are not of the classes that the left
    /// one's type asks for.
    MathValue* (*make)(const DatatypeBase& datatype, NodePtr<>& left, NodePtr<>& right,
                       const Memory::AllocatorPtr& allocator);
};

/// Null for an unknown name.
const BinaryOperator* findBinaryOperator(std::string_view name) noexcept;

/// Null when the type is computed with as it is, but the node has not the class of such a type.
MathValue* makeNegation(NodePtr<>& operand, const Memory::AllocatorPtr& allocator);

/// A node of type `to` that takes the bits of the operand's value, where one is "Integer32" and the other
/// "UnsignedInteger32". Null when the operand has not the class of its type.
MathValue* makeConversion(NodePtr<>& operand, DatatypeID to, const Memory::AllocatorPtr& allocator);

/// Null when the text is no value of the type; that of a type that formulas compute with always is.
MathValue* makeLiteral(const DatatypeBase& datatype, const String& text, const Memory::AllocatorPtr& allocator);

/// Asserts that a function of this result can stand in a formula.
bool requireReturnValueType(DatatypeID returnValueType);

/// These take the arguments over, and the object; they empty `arguments`.
MathValue* makeFunctionNode(Reflection::Function::FunctionID functionID, DatatypeID returnValueType,
                            FunctionArguments::Nodes& arguments, const Memory::AllocatorPtr& allocator);
MathValue* makeMemberFunctionNode(Reflection::Function::FunctionID functionID, DatatypeID returnValueType,
                                  NodePtr<>& object, const DatatypeBase& datatype, FunctionArguments::Nodes& arguments,
                                  const Memory::AllocatorPtr& allocator);

} // namespace Tarq::Common::Parser::Formula
