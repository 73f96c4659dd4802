#pragma once

#include "common/parser/formula/expression.h"
#include "common/parser/formula/internal/nodes.h"
#include "common/parser/xml/xmlnode.h"
#include "common/reflection/function/functionid.h"

namespace Tarq::Common::Parser::Formula {

/// Makes the node of one element, and so of the elements inside of it.
class ExpressionParser {
public:
    using XMLNodeElements = XML::XMLNodeElements;

    ExpressionParser(VariableResolver* resolver, FunctionEnvironment* environment,
                     const Memory::AllocatorPtr& allocator, Expression::ErrorMsg& error) noexcept
        : mResolver(resolver), mEnvironment(environment), mAllocator(allocator), mError(error) {}

    /// Null when the element is refused.
    NodePtr<> parse(XMLNodeElements* element);

private:
    using DatatypeBase = Reflection::Datatype::DatatypeBase;

    NodePtr<> parseKind(XMLNodeElements& element, const DatatypeBase& datatype, const char* kind);
    NodePtr<> parseLiteral(XMLNodeElements& element, const DatatypeBase& datatype);
    NodePtr<> parseUnaryOperator(XMLNodeElements& element);
    NodePtr<> parseBinaryOperator(XMLNodeElements& element);
    NodePtr<> parseFunction(XMLNodeElements& element);
    NodePtr<> parseMemberFunction(XMLNodeElements& element);
    /// Asks the resolver; `ask` is called with a place for its error.
    template <class Ask>
    NodePtr<> resolve(XMLNodeElements& element, const char* kind, Ask ask);
    NodePtr<> resolveCustom(XMLNodeElements& element, const char* kind);

    /// Reads the child that is the operand of that name; one that is missing is refused with the two texts.
    NodePtr<> parseOperand(XMLNodeElements& element, const char* name, const char* error, const char* operatorName);
    /// Brings the operands to one type, that of the left one. False, when they are too different.
    bool unify(XMLNodeElements& element, const char* operatorName, NodePtr<>& left, NodePtr<>& right);
    /// Reports it where there is none.
    static const char* requireAttribute(XMLNodeElements& element, const char* name);
    /// What a resolver has refused is the element that it was asked about, unless it knows better.
    void takeError(XMLNodeElements& element, const Expression::ErrorMsg& refusal);
    /// Null.
    NodePtr<> refuse(XMLNodeElements& element, String text);

    VariableResolver* mResolver;
    FunctionEnvironment* mEnvironment;
    const Memory::AllocatorPtr& mAllocator;
    Expression::ErrorMsg& mError;
};

/// Appends the nodes of the list's children, each an "argument". False, with nothing appended, when one is refused.
bool parseArguments(Container::Vector<MathValue*>& arguments, XML::XMLNodeElements& argumentList,
                    ExpressionParser& parser, const Memory::AllocatorPtr& allocator);

/// A call, as an element has it.
struct FunctionCall {
    explicit FunctionCall(const Memory::AllocatorPtr& allocator) noexcept
        : arguments(allocator), signature(allocator) {}

    /// Reads the children "functionname" and "argumentlist" from the cursor on. False when one is missing, which is
    /// reported, or when an argument is refused.
    bool read(XML::XMLNodeElements& element, ExpressionParser& parser);
    /// Calls `find` with the signature, unless no function can take the arguments: there are more than ten, or one has
    /// a type without values.
    template <class Find>
    Reflection::Function::FunctionID findFunction(Find find) const {
        return isPossible() ? find(signature) : Reflection::Function::FunctionID();
    }

    const char* name = nullptr;
    NodeList arguments;
    Container::Vector<DatatypeID> signature;

private:
    bool isPossible() const;
};

} // namespace Tarq::Common::Parser::Formula
