#include "common/parser/formula/internal/nodefactory.h"

#include "common/parser/formula/atomicmathvalue.h"
#include "common/parser/formula/datatypefunctionmathvalue.h"
#include "common/parser/formula/functionmathvalue.h"
#include "common/parser/formula/internal/convertedmathvalue.h"
#include "common/parser/formula/operatormathvalue.h"
#include "common/parser/formula/untypedoperatormathvalue.h"
#include "common/reflection/datatype/stringconversionfunctions.h"

#include <algorithm>

namespace Tarq::Common::Parser::Formula {

namespace {

using Reflection::Datatype::GET_DATATYPE_ID;
using Reflection::Datatype::TextForm;

/// Calls `make.operator()<T>()` for the first of the types that has this id, and returns true.
template <class... Types, class Make>
bool withTypeOf(DatatypeID id, Make make) {
    return ((id == GET_DATATYPE_ID<Types>() && (make.template operator()<Types>(), true)) || ...);
}

/// An operator for operands that both are of class `TypedMathValue<T>`.
template <class Node, class T>
MathValue* makeTyped(NodePtr<>& left, NodePtr<>& right, const Memory::AllocatorPtr& allocator) {
    auto* const typedLeft = dynamic_cast<TypedMathValue<T>*>(left.get());
    auto* const typedRight = dynamic_cast<TypedMathValue<T>*>(right.get());
    if (!typedLeft || !typedRight)
        return nullptr;
    auto* const node = new (allocator) Node(typedLeft, typedRight);
    letGoOf(left, right);
    return node;
}

/// `Types` are computed with as they are.
template <class Operation, class Untyped, class... Types>
MathValue* makeOperator(const DatatypeBase& datatype, NodePtr<>& left, NodePtr<>& right,
                        const Memory::AllocatorPtr& allocator) {
    MathValue* node = nullptr;
    const bool isTyped = withTypeOf<Types...>(datatype.getDatatypeID(), [&]<class T>() {
        node = makeTyped<BinaryMathValue<Operation, T, T>, T>(left, right, allocator);
    });
    if (isTyped)
        return node;
    if constexpr (!std::is_void_v<Untyped>) {
        node = new (allocator) UntypedBinaryMathValue<Operation, Untyped>(datatype, left.get(), right.get());
        letGoOf(left, right);
    }
    return node;
}

template <class Operation>
constexpr auto cMakeArithmetic = &makeOperator<Operation, UntypedOperatorMathValue, uint32, int32, int64, float>;
template <class Operation>
constexpr auto cMakeOrdering = &makeOperator<Operation, UntypedComparisionMathValue, uint32, int32, int64, float>;
template <class Operation>
constexpr auto cMakeEquality = &makeOperator<Operation, UntypedComparisionMathValue, uint32, int32, int64, float, bool>;
template <class Operation>
constexpr auto cMakeLogic = &makeOperator<Operation, void, bool>;

using namespace Operations;

constexpr BinaryOperator cBinaryOperators[] = {
    {"add", "\" does not support addition", &DatatypeBase::hasAddition, cMakeArithmetic<Addition>},
    {"sub", "\" does not support substraction", &DatatypeBase::hasSubstraction, cMakeArithmetic<Substraction>},
    {"mul", "\" does not support multiplication", &DatatypeBase::hasMultiplication, cMakeArithmetic<Multiplication>},
    {"div", "\" does not support division", &DatatypeBase::hasDivision, cMakeArithmetic<Division>},
    {"smaller", "\" does not support smaller", &DatatypeBase::hasSmaller, cMakeOrdering<Smaller>},
    {"smallerequal", "\" does not support SmallerEqual", &DatatypeBase::hasSmallerEqual, cMakeOrdering<SmallerEqual>},
    {"equal", "\" does not support Equal", &DatatypeBase::hasEqual, cMakeEquality<Equal>},
    {"greaterequal", "\" does not support GreaterEqual", &DatatypeBase::hasGreaterEqual, cMakeOrdering<GreaterEqual>},
    {"greater", "\" does not support Greater", &DatatypeBase::hasGreater, cMakeOrdering<Greater>},
    {"unequal", "\" does not support Unequal", &DatatypeBase::hasUnequal, cMakeEquality<Unequal>},
    {"and", "\" does not support And", nullptr, cMakeLogic<And>},
    {"or", "\" does not support Or", nullptr, cMakeLogic<Or>},
};

template <class To, class From>
MathValue* makeConversionFrom(NodePtr<>& operand, const Memory::AllocatorPtr& allocator) {
    auto* const typed = dynamic_cast<TypedMathValue<From>*>(operand.get());
    if (!typed)
        return nullptr;
    auto* const node = new (allocator) ConvertedMathValue<To, From>(typed);
    letGoOf(operand);
    return node;
}

} // namespace

const BinaryOperator* findBinaryOperator(std::string_view name) noexcept {
    const auto* const found = std::ranges::find(cBinaryOperators, name, &BinaryOperator::name);
    return found != std::ranges::end(cBinaryOperators) ? found : nullptr;
}

MathValue* makeNegation(NodePtr<>& operand, const Memory::AllocatorPtr& allocator) {
    auto* const typed = dynamic_cast<TypedMathValue<bool>*>(operand.get());
    if (!typed)
        return nullptr;
    auto* const node = new (allocator) NegatedMathValue(typed);
    letGoOf(operand);
    return node;
}

MathValue* makeConversion(NodePtr<>& operand, DatatypeID to, const Memory::AllocatorPtr& allocator) {
    return to == GET_DATATYPE_ID<int32>() ? makeConversionFrom<int32, uint32>(operand, allocator)
                                          : makeConversionFrom<uint32, int32>(operand, allocator);
}

MathValue* makeLiteral(const DatatypeBase& datatype, const String& text, const Memory::AllocatorPtr& allocator) {
    MathValue* node = nullptr;
    const bool isTyped = withTypeOf<bool, uint32, int32, int64, float>(datatype.getDatatypeID(), [&]<class T>() {
        node = new (allocator) AtomicMathValue<T>(TextForm<T>::convert(text.view(), allocator));
    });
    if (isTyped)
        return node;
    void* const parsed = datatype.parseValue(text, allocator);
    if (!parsed)
        return nullptr;
    DatatypeValue value(datatype, parsed, allocator);
    node = new (allocator) UntypedAtomicMathValue(value.get(), datatype);
    value.release();
    return node;
}

bool requireReturnValueType(DatatypeID returnValueType) {
    return TARQ_ASSERT_AS("returnValueType != DatatypeID() && returnValueType != GET_DATATYPE_ID(void)",
                          returnValueType != DatatypeID() && returnValueType != GET_DATATYPE_ID<void>(),
                          "cannot use functions inside a function without returnvalue or unknown returnvaluetype");
}

MathValue* makeFunctionNode(FunctionID functionID, DatatypeID returnValueType, FunctionArguments::Nodes& arguments,
                            const Memory::AllocatorPtr& allocator) {
    MathValue* node = nullptr;
    const bool isTyped = withTypeOf<bool, int32, int64, uint32, float, String>(
        returnValueType, [&]<class T>() { node = new (allocator) FunctionMathValue<T>(functionID, arguments); });
    return isTyped ? node : new (allocator) UntypedFunctionMathValue(functionID, returnValueType, arguments);
}

MathValue* makeMemberFunctionNode(FunctionID functionID, DatatypeID returnValueType, NodePtr<>& object,
                                  const DatatypeBase& datatype, FunctionArguments::Nodes& arguments,
                                  const Memory::AllocatorPtr& allocator) {
    MathValue* node = nullptr;
    const bool isTyped = withTypeOf<bool, uint32, int32, int64, float>(returnValueType, [&]<class T>() {
        node = new (allocator) DatatypeFunctionMathValue<T>(functionID, object.get(), datatype, arguments);
    });
    if (!isTyped)
        node = new (allocator)
            UntypedDatatypeFunctionMathValue(functionID, returnValueType, object.get(), datatype, arguments);
    letGoOf(object);
    return node;
}

} // namespace Tarq::Common::Parser::Formula
