#pragma once

#include "common/export.h"
#include "common/memory/allocatorptr.h"
#include "common/parser/formula/variableresolver.h"

namespace Tarq::Common::Debugger {

class ObjectType;

/// Makes the nodes of the variables in conditions: those of one object type, by name.
class TARQ_API DebuggerVariableResolver final : public Parser::Formula::VariableResolver {
public:
    /// The nodes are made on the allocator. The type outlives the resolver and its nodes.
    DebuggerVariableResolver(const Memory::AllocatorPtr& allocator, ObjectType* type) noexcept;
    ~DebuggerVariableResolver() override;

    /// For an element whose child "name" has the name of a variable; the error is "unknown variable: " and the name
    /// otherwise.
    Parser::Formula::MathValue* getVariable(Parser::XML::XMLNodeElements* element,
                                            Parser::Formula::Expression::ErrorMsg& error) override;
    /// Asserts "not implement and should not be calld in debugger"; null.
    Parser::Formula::MathValue* getConstant(Parser::XML::XMLNodeElements* element,
                                            Parser::Formula::Expression::ErrorMsg& error) override;
    Parser::Formula::MathValue* getCustomMathValue(Parser::XML::XMLNodeElements* element,
                                                   Parser::Formula::FunctionEnvironment* environment,
                                                   Parser::Formula::Expression::ErrorMsg& error) override;

private:
    Memory::AllocatorPtr mAllocator;
    ObjectType* mType;
};

} // namespace Tarq::Common::Debugger
