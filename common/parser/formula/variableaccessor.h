#pragma once

#include "common/export.h"

namespace Tarq::Common::Reflection::Function {
class FunctionRegistrar;
}

namespace Tarq::Common::Parser::Formula {

/// What a formula is evaluated over. The host derives from it and adds what its variable nodes read from.
///
/// The nodes of `FieldMathValue` read from an object, whose fields stand at the places that they know.
class TARQ_API VariableAccessor {
public:
    virtual ~VariableAccessor();
    /// Provides the functions that the formula calls. It still belongs to the accessor.
    virtual Reflection::Function::FunctionRegistrar* getFunctionRegistrar() const = 0;

    /// The object still belongs to the caller, and lives as long as formulas are evaluated over it. It has the fields
    /// of each of them; there has to be one for a formula that has fields.
    void setObject(void* object) noexcept { mObject = static_cast<char*>(object); }
    char* getObject() const noexcept { return mObject; }

    /// Whether formulas leave alone what they are evaluated over: member functions then work on copies of variables.
    bool isReadOnly() const noexcept { return mIsReadOnly; }

protected:
    VariableAccessor() = default;
    explicit VariableAccessor(bool isReadOnly) noexcept : mIsReadOnly(isReadOnly) {}
    VariableAccessor(const VariableAccessor&) = default;
    VariableAccessor& operator=(const VariableAccessor&) = default;

private:
    char* mObject = nullptr;
    bool mIsReadOnly = false;
};

} // namespace Tarq::Common::Parser::Formula
