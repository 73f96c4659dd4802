#include "common/debugger/condition/debuggervariableaccessor.h"

#include "common/debug/assert.h"

namespace Tarq::Common::Debugger {

DebuggerVariableAccessor::DebuggerVariableAccessor(ObjectInstance* instance,
                                                   Reflection::Function::FunctionRegistrar* registrar) noexcept
    : VariableAccessor(true), mInstance(instance), mRegistrar(registrar) {}

DebuggerVariableAccessor::~DebuggerVariableAccessor() = default;

Reflection::Function::FunctionRegistrar* DebuggerVariableAccessor::getFunctionRegistrar() const {
    TARQ_FAIL("not needed - not implemented");
    return mRegistrar.get();
}

} // namespace Tarq::Common::Debugger
