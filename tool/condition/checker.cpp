#include "tool/condition/checker.h"

#include "tool/condition/lexer.h"
#include "tool/condition/literal.h"
#include "tool/condition/nearestname.h"

#include <algorithm>
#include <limits>

namespace Tarq::Tool {

using namespace Common;
using namespace Network::Message;

namespace {

bool isNumber32(const Datatype& type) noexcept {
    return type.id == STREAM_TYPE_INT32 || type.id == STREAM_TYPE_UINT32;
}

bool isNumber(NodeKind form) noexcept {
    return form == NODE_INTEGER || form == NODE_FLOATING;
}

/// Whether each whole number in it is an Integer32.
bool fitsInteger32(const Node& node) noexcept {
    constexpr auto cGreatest = static_cast<uint64>(std::numeric_limits<int32>::max());
    if (node.kind == NODE_INTEGER)
        return node.whole <= cGreatest + (node.isNegative ? 1 : 0);
    return std::ranges::all_of(node.operands, [](const NodePtr& operand) { return fitsInteger32(*operand); });
}

String signOf(const Node& node) {
    return quoted(cOperators[node.operation].sign, '"');
}

/// The operators that a host has for a type, for a person.
String listOperators(const Datatype& type) {
    String list;
    for (uint32 operation = 0; operation < std::size(cOperators); ++operation) {
        if (type.has(static_cast<Operator>(operation)))
            list.append(list.empty() ? "" : " ").append(cOperators[operation].sign);
    }
    return list;
}

} // namespace

bool Checker::check(Node& root) {
    if (!visit(root) || !settle(root))
        return false;
    return root.type->id == STREAM_TYPE_BOOL ||
           mProblem.report(root.offset, "a condition is Boolean, and this is " + nameOf(*root.type));
}

bool Checker::visit(Node& node) {
    switch (node.kind) {
    case NODE_BOOLEAN:
        return convertLiteral(node, datatypeOf(STREAM_TYPE_BOOL), mProblem);
    case NODE_VARIABLE:
        return visitVariable(node);
    case NODE_NEGATION:
        return visitNegation(node);
    case NODE_BINARY:
        return visitBinary(node);
    case NODE_CALL:
        return visitCall(node);
    default:
        return true;
    }
}

bool Checker::visitVariable(Node& node) {
    const auto* const found = std::ranges::find(mVariables, node.text, &ConditionVariable::name);
    if (found == mVariables.end()) {
        const ConditionVariable* const nearest = findNearestName(node.text, mVariables);
        return mProblem.report(node.offset,
                               "there is no variable " + quoted(node.text, '"') +
                                   (nearest ? "; the nearest is " + quoted(nearest->name, '"') : String()));
    }
    node.type = findDatatype(found->type);
    if (!node.type)
        return mProblem.report(node.offset, "the variable " + quoted(node.text, '"') + " has an unknown type: " +
                                                String().appendDecimal(static_cast<uint8>(found->type)));
    return requireWritable(node.text, node.offset, mProblem);
}

bool Checker::visitNegation(Node& node) {
    node.type = &datatypeOf(STREAM_TYPE_BOOL);
    Node& operand = *node.operands.front();
    return visit(operand) && requireBoolean(operand, "!");
}

bool Checker::visitBinary(Node& node) {
    Node& left = *node.operands.front();
    Node& right = *node.operands.back();
    if (!visit(left) || !visit(right))
        return false;
    if (isLogical(node.operation)) {
        node.type = &datatypeOf(STREAM_TYPE_BOOL);
        const std::string_view sign = cOperators[node.operation].sign;
        return requireBoolean(left, sign) && requireBoolean(right, sign);
    }
    if (!unify(node))
        return false;
    if (!left.type)
        return true;
    node.type = isArithmetic(node.operation) ? left.type : &datatypeOf(STREAM_TYPE_BOOL);
    return requireOperator(node);
}

bool Checker::visitCall(Node& node) {
    Node& object = *node.operands.front();
    if (!visit(object) || !settle(object))
        return false;
    const Datatype& type = *object.type;
    const MemberFunction* const function = findFunction(node, type);
    if (!function || !checkArguments(node, *function, type))
        return false;
    node.type = &datatypeOf(function->result, type);
    return true;
}

bool Checker::requireBoolean(Node& operand, std::string_view sign) {
    return settle(operand) &&
           (operand.type->id == STREAM_TYPE_BOOL ||
            mProblem.report(operand.offset,
                            quoted(sign, '"') + " wants Boolean operands, and this is " + nameOf(*operand.type)));
}

bool Checker::unify(Node& node) {
    Node& left = *node.operands.front();
    Node& right = *node.operands.back();
    if (left.type && right.type) {
        return left.type == right.type || (isNumber32(*left.type) && isNumber32(*right.type)) ||
               mProblem.report(node.offset, "the operands of " + signOf(node) + " are " + nameOf(*left.type) + " and " +
                                                nameOf(*right.type) + ", and a host converts neither");
    }
    if (left.type)
        return settle(right, *left.type);
    if (right.type)
        return settle(left, *right.type);
    if (left.form != right.form && !(isNumber(left.form) && isNumber(right.form)))
        return mProblem.report(node.offset, "the operands of " + signOf(node) + " are " + describe(left.form) +
                                                " and " + describe(right.form));
    node.form = std::max(left.form, right.form); // a fraction makes both numbers have one
    return isArithmetic(node.operation) || settle(node);
}

bool Checker::requireOperator(const Node& node) {
    const Datatype& type = *node.operands.front()->type;
    if (type.has(node.operation))
        return true;
    const String others = listOperators(type);
    return mProblem.report(node.offset, "a host has no " + signOf(node) + " for " + nameOf(type) +
                                            (others.empty() ? ", nor any other operator" : ", only " + others));
}

const MemberFunction* Checker::findFunction(const Node& call, const Datatype& type) {
    String known;
    for (const MemberFunction& function : memberFunctionsOf(type)) {
        if (function.name == call.text) {
            if (function.result != ROLE_NOTHING)
                return &function;
            mProblem.report(call.offset, quoted(call.text, '"') + " of " + nameOf(type) + " gives no value");
            return nullptr;
        }
        if (function.result != ROLE_NOTHING)
            known.append(known.empty() ? "; it has " : ", ").append(function.name);
    }
    mProblem.report(call.offset, nameOf(type) + " has no member function " + quoted(call.text, '"') + known);
    return nullptr;
}

bool Checker::checkArguments(Node& call, const MemberFunction& function, const Datatype& type) {
    const bool hasArgument = function.argument != ROLE_NOTHING;
    const String name = quoted(call.text, '"') + " of " + nameOf(type);
    if (!hasArgument)
        return call.operands.size() == 1 || mProblem.report(call.offset, name + " takes no argument");
    const Datatype& wanted = datatypeOf(function.argument, type);
    if (call.operands.size() != 2)
        return mProblem.report(call.offset, name + " takes one argument, of the type " + nameOf(wanted));
    Node& argument = *call.operands.back();
    if (!visit(argument) || !settle(argument, wanted))
        return false;
    if (argument.type != &wanted && !(isNumber32(*argument.type) && isNumber32(wanted)))
        return mProblem.report(argument.offset,
                               name + " takes " + nameOf(wanted) + ", and this is " + nameOf(*argument.type));
    return function.argument != ROLE_INDEX || checkIndex(argument, type);
}

bool Checker::checkIndex(const Node& index, const Datatype& type) {
    const bool isKnown = type.shape == SHAPE_VECTOR && index.kind == NODE_INTEGER;
    return !isKnown || index.whole < type.numComponents ||
           mProblem.report(index.offset, "the components of " + nameOf(type) + " are counted from 0 to " +
                                             String().appendDecimal(type.numComponents - 1));
}

bool Checker::settle(Node& node, const Datatype& type) {
    if (node.type)
        return true;
    if (isLiteral(node.kind))
        return convertLiteral(node, type, mProblem);
    node.type = &type;
    return settle(*node.operands.front(), type) && settle(*node.operands.back(), type) && requireOperator(node);
}

bool Checker::settle(Node& node) {
    if (node.type)
        return true;
    switch (node.form) {
    case NODE_INTEGER:
        return settle(node, datatypeOf(fitsInteger32(node) ? STREAM_TYPE_INT32 : STREAM_TYPE_INT64));
    case NODE_FLOATING:
        return settle(node, datatypeOf(STREAM_TYPE_FLOAT32));
    case NODE_TEXT:
        return settle(node, datatypeOf(STREAM_TYPE_BSTRING));
    default:
        return mProblem.report(node.offset, "nothing here tells the type of " + describe(node.form));
    }
}

} // namespace Tarq::Tool
