#pragma once

#include "common/export.h"
#include "common/parser/formula/expression.h"
#include "common/reflection/function/functiondeclarationmanager.h"

namespace Tarq::Common::Reflection::Function {
class FunctionRegistrar;
}

namespace Tarq::Common::Parser::Formula {

/// Which functions formulas may call; a registrar, if there is one, notes those that they do call, so that its
/// `checkRegisteredFunctions` tells which of them nobody provides.
///
/// The registrar outlives the environment, and shares its declarations. Threads: as `Expression::parse`; the
/// declarations and the registrar may be shared.
class TARQ_API FunctionEnvironment {
public:
    /// Nodes are made on `allocator`. `registrar` may be null.
    FunctionEnvironment(const Reflection::Function::FunctionDeclarationManagerPtr& declarations,
                        Reflection::Function::FunctionRegistrar* registrar, const Memory::AllocatorPtr& allocator);
    FunctionEnvironment(const FunctionEnvironment&);
    FunctionEnvironment& operator=(const FunctionEnvironment&);
    ~FunctionEnvironment();

    const Reflection::Function::FunctionDeclarationManagerPtr& getFunctionDeclarations() const noexcept {
        return mFunctionDeclarations;
    }

    /// Makes the node of an element of the kind "function", whose children it reads from the cursor on. Null, and
    /// nothing is left behind, when it is refused, as `Expression::parse` does it; besides, asserts that there is an
    /// element, and that the function has a result: the registrar has noted it then all the same.
    MathValue* getMathValue(XML::XMLNodeElements* element, VariableResolver* resolver, Expression::ErrorMsg& error);

    /// Parses each child "argument" of the list and appends the nodes, which belong to the caller. False, with nothing
    /// appended, when one of them is refused, or has another name. Asserts that there is a list; false otherwise.
    bool parseFunctionArgumentList(Container::Vector<MathValue*>& arguments, XML::XMLNodeElements* argumentList,
                                   VariableResolver* resolver, FunctionEnvironment* environment,
                                   Expression::ErrorMsg& error);

private:
    Reflection::Function::FunctionDeclarationManagerPtr mFunctionDeclarations;
    Reflection::Function::FunctionRegistrar* mRegistrar;
    Memory::AllocatorPtr mAllocator;
};

} // namespace Tarq::Common::Parser::Formula
