#include "common/parser/formula/expression.h"

#include "common/parser/formula/internal/expressionparser.h"
#include "common/parser/formula/internal/nodes.h"
#include "common/parser/formula/operatormathvalue.h"

namespace Tarq::Common::Parser::Formula {

namespace {

using Test = TypedMathValue<bool>;

/// Null when the node connects nothing.
AndMathValue* asConjunction(MathValue* value) {
    return value->getOperationType() == Expression::OPERATION_AND ? dynamic_cast<AndMathValue*>(value) : nullptr;
}

/// Calls `visit` with everything that the value connects, from left to right.
template <class Visit>
void visitParts(MathValue* value, const Visit& visit) {
    if (AndMathValue* const both = asConjunction(value)) {
        visitParts(both->getLeft(), visit);
        visitParts(both->getRight(), visit);
    } else {
        visit(value);
    }
}

/// Deletes what connects the parts, and leaves these.
void disconnect(MathValue* value) {
    AndMathValue* const both = asConjunction(value);
    if (!both)
        return;
    disconnect(both->releaseLeft());
    disconnect(both->releaseRight());
    delete both;
}

} // namespace

MathValue* Expression::parse(XML::XMLNodeElements* element, VariableResolver* resolver,
                             FunctionEnvironment* environment, const Memory::AllocatorPtr& allocator, ErrorMsg& error) {
    return ExpressionParser(resolver, environment, allocator, error).parse(element).release();
}

MathValue* Expression::parse(XML::XMLNodeElements* element, VariableResolver* resolver,
                             FunctionEnvironment* environment, const Memory::AllocatorPtr& allocator) {
    ErrorMsg error;
    MathValue* const mathValue = parse(element, resolver, environment, allocator, error);
    TARQ_ASSERT_AS("mathValue != NULL", mathValue, error.getText());
    return mathValue;
}

void Expression::splitDisjunction(Container::Vector<Test*>& parts, Test* value) {
    if (!TARQ_ASSERT_AS("originalValue", value, "splitDisjunction: get nullptr as argument"))
        return;
    uint32 count = 0;
    visitParts(value, [&count](MathValue*) { ++count; });
    parts.reserve(parts.size() + count);
    visitParts(value, [&parts](MathValue* part) { parts.push_back(static_cast<Test*>(part)); });
    disconnect(value);
}

TypedMathValue<bool>* Expression::joinTests(Container::Vector<Test*>& parts, const Memory::AllocatorPtr& allocator) {
    if (parts.empty())
        return nullptr;
    Test* joined = parts.front();
    try {
        for (uint32 index = 1; index < parts.size(); ++index)
            joined = new (allocator) AndMathValue(joined, parts[index]);
    } catch (...) {
        // The parts may be conjunctions themselves: only what was made here goes.
        while (joined != parts.front()) {
            auto* const made = static_cast<AndMathValue*>(joined);
            made->releaseRight();
            joined = made->releaseLeft();
            delete made;
        }
        throw;
    }
    return joined;
}

bool Expression::containsFunctionInDisjunction(FunctionType type, MathValue* value) {
    if (!TARQ_ASSERT_AS("(mathValue && mathValue->getDatatypeID() == GET_DATATYPE_ID(bool))",
                        value && value->getDatatypeID() == Reflection::Datatype::GET_DATATYPE_ID<bool>(),
                        "mathValue has to be a bool function"))
        return false;
    bool contains = false;
    visitParts(value, [&](MathValue* part) { contains = contains || part->getFunctionType() == type; });
    return contains;
}

MathValue* Expression::extractFromDisjunction(Container::Vector<MathValue*>& extracted, MathValue* value,
                                              bool (*predicate)(MathValue*)) {
    if (!TARQ_ASSERT_AS("originalValue", value, "splitDisjunction: get nullptr as argument"))
        return nullptr;
    if (!asConjunction(value)) {
        if (!predicate(value))
            return value;
        extracted.push_back(value);
        return nullptr;
    }
    Container::Vector<MathValue*> taken(value->getAllocator());
    Container::Vector<Test*> left(value->getAllocator());
    visitParts(value, [&](MathValue* part) {
        if (predicate(part))
            taken.push_back(part);
        else
            left.push_back(static_cast<Test*>(part));
    });
    extracted.reserve(extracted.size() + taken.size());
    Test* const joined = joinTests(left, value->getAllocator());
    disconnect(value);
    for (MathValue* const part : taken)
        extracted.push_back(part);
    return joined;
}

} // namespace Tarq::Common::Parser::Formula
