#include "common/debugger/condition/debuggervariableresolver.h"

#include "common/debug/assert.h"
#include "common/debugger/condition/internal/referenceddebuggermathvalue.h"
#include "common/debugger/model/objecttype.h"
#include "common/parser/xml/xmltreereader.h"

namespace Tarq::Common::Debugger {

using Parser::Formula::Expression;
using Parser::Formula::MathValue;
using Parser::XML::XMLNodeElements;

DebuggerVariableResolver::DebuggerVariableResolver(const Memory::AllocatorPtr& allocator, ObjectType* type) noexcept
    : mAllocator(allocator), mType(type) {}

DebuggerVariableResolver::~DebuggerVariableResolver() = default;

MathValue* DebuggerVariableResolver::getVariable(XMLNodeElements* element, Expression::ErrorMsg& error) {
    const char* name = nullptr;
    if (!element->getNextText(name, "name")) {
        Parser::XML::XMLTreeReader::PrintTagNameError(element, "name");
        return nullptr;
    }
    const VariableType* const variable = mType->findVariable(name);
    if (!variable) {
        error.set(String("unknown variable: ") + name, element);
        return nullptr;
    }
    return makeReferencedMathValue(*variable, mAllocator);
}

MathValue* DebuggerVariableResolver::getConstant(XMLNodeElements*, Expression::ErrorMsg&) {
    // Tools see this text; do not correct it.
    TARQ_FAIL("not implement and should not be calld in debugger");
    return nullptr;
}

MathValue* DebuggerVariableResolver::getCustomMathValue(XMLNodeElements*, Parser::Formula::FunctionEnvironment*,
                                                        Expression::ErrorMsg&) {
    TARQ_FAIL("not implement and should not be calld in debugger");
    return nullptr;
}

} // namespace Tarq::Common::Debugger
