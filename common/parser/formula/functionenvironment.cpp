#include "common/parser/formula/functionenvironment.h"

#include "common/debug/assert.h"
#include "common/parser/formula/functionmathvalue.h"
#include "common/parser/formula/internal/datatypes.h"
#include "common/parser/formula/internal/expressionparser.h"
#include "common/parser/formula/internal/nodefactory.h"
#include "common/parser/formula/internal/nodes.h"
#include "common/parser/xml/xmltreereader.h"
#include "common/reflection/function/functionregistrar.h"

namespace Tarq::Common::Parser::Formula {

using XML::XMLNodeElements;

FunctionEnvironment::FunctionEnvironment(const Reflection::Function::FunctionDeclarationManagerPtr& declarations,
                                         Reflection::Function::FunctionRegistrar* registrar,
                                         const Memory::AllocatorPtr& allocator)
    : mFunctionDeclarations(declarations), mRegistrar(registrar), mAllocator(allocator) {}

FunctionEnvironment::FunctionEnvironment(const FunctionEnvironment&) = default;
FunctionEnvironment& FunctionEnvironment::operator=(const FunctionEnvironment&) = default;
FunctionEnvironment::~FunctionEnvironment() = default;

MathValue* FunctionEnvironment::getMathValue(XMLNodeElements* element, VariableResolver* resolver,
                                             Expression::ErrorMsg& error) {
    if (!TARQ_ASSERT(element, "there is no element to parse"))
        return nullptr;
    ExpressionParser parser(resolver, this, mAllocator, error);
    FunctionCall call(mAllocator);
    if (!call.read(*element, parser))
        return nullptr;
    const FunctionID functionID = call.findFunction([&](const Container::Vector<DatatypeID>& signature) {
        return mFunctionDeclarations ? mFunctionDeclarations->getFunctionID(call.name, signature) : FunctionID();
    });
    if (functionID == FunctionID()) {
        error.set("unknown function or wrong signature: \"" + String(call.name) + "\"", element);
        return nullptr;
    }
    if (mRegistrar)
        mRegistrar->addRequiredFunction(functionID);
    const DatatypeID returnValueType = mFunctionDeclarations->getReturnValueType(functionID);
    if (!requireReturnValueType(returnValueType))
        return nullptr;
    return makeFunctionNode(functionID, returnValueType, call.arguments.get(), mAllocator);
}

bool FunctionEnvironment::parseFunctionArgumentList(Container::Vector<MathValue*>& arguments,
                                                    XMLNodeElements* argumentList, VariableResolver* resolver,
                                                    FunctionEnvironment* environment, Expression::ErrorMsg& error) {
    if (!TARQ_ASSERT(argumentList, "there is no list of arguments to parse"))
        return false;
    ExpressionParser parser(resolver, environment, mAllocator, error);
    return parseArguments(arguments, *argumentList, parser, mAllocator);
}

} // namespace Tarq::Common::Parser::Formula
