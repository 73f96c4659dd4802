#include "common/parser/formula/internal/expressionparser.h"

#include "common/parser/formula/functionenvironment.h"
#include "common/parser/formula/internal/datatypes.h"
#include "common/parser/formula/internal/nodefactory.h"
#include "common/parser/formula/variableresolver.h"
#include "common/parser/xml/xmlparser.h"
#include "common/parser/xml/xmltreereader.h"
#include "common/reflection/reflectioninterface.h"

#include <algorithm>
#include <string_view>

namespace Tarq::Common::Parser::Formula {

using Reflection::ReflectionInterface;
using Reflection::Datatype::GET_DATATYPE_ID;
using Reflection::Function::FunctionArgumentList;
using Reflection::Function::FunctionID;

namespace {

/// How many expressions this thread is inside of. A resolver may parse on its own, so that the parsers do not know
/// each other.
thread_local uint32 nestedExpressions = 0;

class Nesting {
public:
    Nesting() noexcept { ++nestedExpressions; }
    ~Nesting() { --nestedExpressions; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
};

bool isNumber32(DatatypeID id) {
    return id == GET_DATATYPE_ID<int32>() || id == GET_DATATYPE_ID<uint32>();
}

String nameOf(DatatypeID id) {
    return ReflectionInterface::getDatatypeManager()->getDatatypeName(id);
}

} // namespace

bool parseArguments(Container::Vector<MathValue*>& arguments, XML::XMLNodeElements& argumentList,
                    ExpressionParser& parser, const Memory::AllocatorPtr& allocator) {
    argumentList.initSearch();
    NodeList parsed(allocator);
    while (!argumentList.atLastNode()) {
        XML::XMLNodeElements* element = nullptr;
        if (!XML::XMLTreeReader::ReadNodeElementsReq(element, &argumentList, "argument"))
            return false;
        NodePtr<> argument = parser.parse(element);
        if (!argument)
            return false;
        parsed.get().push_back(argument.get());
        letGoOf(argument);
    }
    arguments.reserve(arguments.size() + parsed.get().size());
    for (MathValue* const argument : parsed.get())
        arguments.push_back(argument);
    parsed.get().clear();
    return true;
}

bool FunctionCall::read(XML::XMLNodeElements& element, ExpressionParser& parser) {
    if (!element.getNextText(name, "functionname"))
        XML::XMLTreeReader::PrintTagNameError(&element, "functionname");
    XML::XMLNodeElements* argumentList = nullptr;
    if (!XML::XMLTreeReader::ReadNodeElementsReq(argumentList, &element, "argumentlist") || !name)
        return false;
    const Memory::AllocatorPtr& allocator = signature.getAllocator();
    if (!parseArguments(arguments.get(), *argumentList, parser, allocator))
        return false;
    signature = typesOf(arguments.get(), allocator);
    return true;
}

bool FunctionCall::isPossible() const {
    return signature.size() <= FunctionArgumentList::cMaximumArguments &&
           std::ranges::all_of(signature, [](DatatypeID id) { return findDatatype(id) != nullptr; });
}

NodePtr<> ExpressionParser::parse(XMLNodeElements* element) {
    if (!TARQ_ASSERT(element, "there is no element to parse"))
        return nullptr;
    const Nesting nesting;
    if (nestedExpressions > Expression::cMostNestedExpressions)
        return refuse(
            *element,
            String("expression is nested too deep, at most ").appendDecimal(Expression::cMostNestedExpressions));
    const char* const typeName = requireAttribute(*element, "datatype");
    if (!typeName)
        return nullptr;
    String name(typeName);
    XML::XMLParser::convertSpecialCharacters(name);
    const Reflection::Datatype::DatatypeManagerPtr& manager = ReflectionInterface::getDatatypeManager();
    const DatatypeBase* const datatype = manager ? findDatatype(manager->getDatatypeID(name)) : nullptr;
    if (!datatype)
        return refuse(*element, "expression is of unknown datatype: " + name);
    const char* const kind = requireAttribute(*element, "expressiontype");
    if (!kind)
        return nullptr;
    element->initSearch();
    return parseKind(*element, *datatype, kind);
}

NodePtr<> ExpressionParser::parseKind(XMLNodeElements& element, const DatatypeBase& datatype, const char* kind) {
    const std::string_view name(kind);
    if (name == "variable")
        return resolve(element, kind,
                       [&](Expression::ErrorMsg& error) { return mResolver->getVariable(&element, error); });
    if (name == "constant")
        return resolve(element, kind,
                       [&](Expression::ErrorMsg& error) { return mResolver->getConstant(&element, error); });
    if (name == "value")
        return parseLiteral(element, datatype);
    if (name == "unaryoperator")
        return parseUnaryOperator(element);
    if (name == "binaryoperator")
        return parseBinaryOperator(element);
    if (name == "function")
        return parseFunction(element);
    if (name == "memberfunction")
        return parseMemberFunction(element);
    return resolveCustom(element, kind);
}

template <class Ask>
NodePtr<> ExpressionParser::resolve(XMLNodeElements& element, const char* kind, Ask ask) {
    if (!TARQ_ASSERT(mResolver, "there is no resolver for an expression of the type ", kind))
        return nullptr;
    Expression::ErrorMsg refusal;
    NodePtr<> node(ask(refusal));
    if (node)
        return node;
    if (!refusal.existsError())
        return refuse(element, "expression is not known to the resolver: " + String(kind));
    takeError(element, refusal);
    return nullptr;
}

NodePtr<> ExpressionParser::resolveCustom(XMLNodeElements& element, const char* kind) {
    Expression::ErrorMsg refusal;
    NodePtr<> customMathValue(mResolver ? mResolver->getCustomMathValue(&element, mEnvironment, refusal) : nullptr);
    if (!TARQ_ASSERT_AS("customMathValue != NULL || errorMsg.existsError()", customMathValue || refusal.existsError(),
                        "unknown or not implemented expressiontype: ", kind))
        return nullptr;
    if (!customMathValue)
        takeError(element, refusal);
    return customMathValue;
}

NodePtr<> ExpressionParser::parseLiteral(XMLNodeElements& element, const DatatypeBase& datatype) {
    const char* text = nullptr;
    NodePtr<> node;
    if (element.getNextText(text, "value"))
        node.reset(makeLiteral(datatype, text, mAllocator));
    if (!node)
        XML::XMLTreeReader::PrintTagNameError(&element, "value");
    return node;
}

NodePtr<> ExpressionParser::parseUnaryOperator(XMLNodeElements& element) {
    const char* const name = requireAttribute(element, "operatortype");
    if (!name)
        return nullptr;
    if (std::string_view(name) != "not") {
        TARQ_FAIL("unknown or not implemented unary operator: ", name);
        return nullptr;
    }
    NodePtr<> operand = parseOperand(element, "value", "not operator does not contain a value", "");
    if (!operand)
        return nullptr;
    NodePtr<> node;
    if (operand->getDatatypeID() == GET_DATATYPE_ID<bool>())
        node.reset(makeNegation(operand, mAllocator));
    return node ? std::move(node) : refuse(element, "cannot apply not operator on other types than bool");
}

NodePtr<> ExpressionParser::parseBinaryOperator(XMLNodeElements& element) {
    const char* const name = requireAttribute(element, "operatortype");
    if (!name)
        return nullptr;
    NodePtr<> left = parseOperand(element, "lhs", "binary operator does not contain a left hand side operand: ", name);
    if (!left)
        return nullptr;
    NodePtr<> right =
        parseOperand(element, "rhs", "binary operator does not contain a right hand side operand: ", name);
    if (!right || !unify(element, name, left, right))
        return nullptr;

    const BinaryOperator* const binaryOperator = findBinaryOperator(name);
    if (!binaryOperator) {
        TARQ_FAIL("unknown or not implemented binary operator: ", name);
        return nullptr;
    }
    const DatatypeBase* const datatype = findDatatype(left->getDatatypeID());
    NodePtr<> node;
    if (datatype && (!binaryOperator->isSupported || (datatype->*binaryOperator->isSupported)()))
        node.reset(binaryOperator->make(*datatype, left, right, mAllocator));
    if (!node)
        refuse(element, "datatype: \"" + nameOf(left->getDatatypeID()) + binaryOperator->missing);
    return node;
}

bool ExpressionParser::unify(XMLNodeElements& element, const char* operatorName, NodePtr<>& left, NodePtr<>& right) {
    const DatatypeID leftType = left->getDatatypeID();
    const DatatypeID rightType = right->getDatatypeID();
    if (leftType == rightType)
        return true;
    if (isNumber32(leftType) && isNumber32(rightType)) {
        if (NodePtr<> converted(makeConversion(right, leftType, mAllocator)); converted) {
            right = std::move(converted);
            return true;
        }
    }
    refuse(element, "binary operator cannot be applied on different datatypes: \"" + String(operatorName) +
                        "\". Datatype left: \"" + nameOf(leftType) + "\". Datatype right: \"" + nameOf(rightType) +
                        "\".");
    return false;
}

NodePtr<> ExpressionParser::parseFunction(XMLNodeElements& element) {
    if (mEnvironment)
        return NodePtr<>(mEnvironment->getMathValue(&element, mResolver, mError));
    FunctionCall call(mAllocator);
    if (!call.read(element, *this))
        return nullptr;
    return refuse(element, "unknown function or wrong signature: \"" + String(call.name) + "\"");
}

NodePtr<> ExpressionParser::parseMemberFunction(XMLNodeElements& element) {
    XMLNodeElements* objectElement = nullptr;
    if (!XML::XMLTreeReader::ReadNodeElementsReq(objectElement, &element, "value"))
        return nullptr;
    NodePtr<> object = parse(objectElement);
    if (!object)
        return nullptr;
    FunctionCall call(mAllocator);
    if (!call.read(element, *this))
        return nullptr;
    const DatatypeBase* const datatype = findDatatype(object->getDatatypeID());
    const FunctionID functionID = call.findFunction([&](const Container::Vector<DatatypeID>& signature) {
        return datatype ? datatype->getFunctionID(call.name, signature) : FunctionID();
    });
    if (functionID == FunctionID())
        return refuse(element, "\"" + nameOf(object->getDatatypeID()) + "\" does not provide an memberfunction: \"" +
                                   String(call.name) + "\" with this signature");
    const DatatypeID returnValueType = datatype->getReturnValueType(functionID);
    if (!requireReturnValueType(returnValueType))
        return nullptr;
    return NodePtr<>(
        makeMemberFunctionNode(functionID, returnValueType, object, *datatype, call.arguments.get(), mAllocator));
}

NodePtr<> ExpressionParser::parseOperand(XMLNodeElements& element, const char* name, const char* error,
                                         const char* operatorName) {
    XMLNodeElements* const operand = element.getNextElements(name);
    return operand ? parse(operand) : refuse(element, String(error) + operatorName);
}

const char* ExpressionParser::requireAttribute(XMLNodeElements& element, const char* name) {
    const char* const value = element.getAttributeString(name);
    if (!value)
        XML::XMLTreeReader::PrintTagNameError(&element, name);
    return value;
}

void ExpressionParser::takeError(XMLNodeElements& element, const Expression::ErrorMsg& refusal) {
    mError.set(refusal.getText(), refusal.getElement() ? refusal.getElement() : &element);
}

NodePtr<> ExpressionParser::refuse(XMLNodeElements& element, String text) {
    mError.set(std::move(text), &element);
    return nullptr;
}

} // namespace Tarq::Common::Parser::Formula
