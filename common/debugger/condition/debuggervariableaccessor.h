#pragma once

#include "common/export.h"
#include "common/memory/memorymanaged.h"
#include "common/parser/formula/variableaccessor.h"
#include "common/reflection/function/functionregistrar.h"

#include <memory>

namespace Tarq::Common::Debugger {

class ObjectInstance;

/// Gives conditions the object whose variables they read.
///
/// Threads: one at a time, under the data mutex. Ownership: of the registrar; the instance outlives it.
class TARQ_API DebuggerVariableAccessor final : public Parser::Formula::VariableAccessor, public Memory::MemoryManaged {
public:
    /// `registrar` may be null.
    DebuggerVariableAccessor(ObjectInstance* instance, Reflection::Function::FunctionRegistrar* registrar) noexcept;
    ~DebuggerVariableAccessor() override;

    /// Conditions call no registered functions: asserts "not needed - not implemented".
    Reflection::Function::FunctionRegistrar* getFunctionRegistrar() const override;
    ObjectInstance& getInstance() const noexcept { return *mInstance; }

    /// Begins to compute a condition: `isMissing` says then whether a variable was asked for that is not registered any
    /// more, which leaves the condition without a value.
    void begin() noexcept { mIsMissing = false; }
    void noteMissing() noexcept { mIsMissing = true; }
    bool isMissing() const noexcept { return mIsMissing; }

private:
    ObjectInstance* mInstance;
    std::unique_ptr<Reflection::Function::FunctionRegistrar> mRegistrar;
    bool mIsMissing = false;
};

} // namespace Tarq::Common::Debugger
