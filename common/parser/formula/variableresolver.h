#pragma once

#include "common/export.h"
#include "common/parser/formula/expression.h"

namespace Tarq::Common::Parser::XML {
struct XMLNodeElements;
}

namespace Tarq::Common::Parser::Formula {

/// Makes the nodes of what only a host knows. The parser asks it with the element that names the variable.
///
/// A node that is returned belongs to the caller. It tells its type by `getDatatypeID`; as an operand, one of type
/// "Boolean", "Integer32", "UnsignedInteger32", "Integer64" or "Float" has to be a `TypedMathValue` of the native type,
/// or it is refused. Null refuses the element; the error, which is empty at
/// first, then says why. What is thrown passes on to who parses.
class TARQ_API VariableResolver {
public:
    virtual ~VariableResolver();

    /// For the kind "variable".
    virtual MathValue* getVariable(XML::XMLNodeElements* element, Expression::ErrorMsg& error) = 0;
    /// For the kind "constant".
    virtual MathValue* getConstant(XML::XMLNodeElements* element, Expression::ErrorMsg& error) = 0;
    /// For the kinds that the parser does not know. Null, and the error left empty, says that this resolver does not
    /// know it either.
    virtual MathValue* getCustomMathValue(XML::XMLNodeElements* element, FunctionEnvironment* environment,
                                          Expression::ErrorMsg& error) = 0;

protected:
    VariableResolver() = default;
    VariableResolver(const VariableResolver&) = default;
    VariableResolver& operator=(const VariableResolver&) = default;
};

} // namespace Tarq::Common::Parser::Formula
