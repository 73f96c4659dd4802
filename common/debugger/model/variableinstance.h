#pragma once

#include "common/debugger/model/variabletype.h"
#include "common/export.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"

namespace Tarq::Common::Debugger {

/// One variable of one object instance: where it lies in the host's memory, and what it is. A value, cheap to copy.
///
/// Ownership: neither the variable nor its type; both outlive this.
class TARQ_API VariableInstance {
public:
    /// What became of a value that a tool has sent.
    enum Result {
        VARIABLE_WRITTEN,
        VARIABLE_UNKNOWN,  ///< there is no such variable
        VARIABLE_MISMATCH, ///< there is no value, or not one of the variable's type
        VARIABLE_READ_ONLY,
    };

    /// No variable.
    VariableInstance() noexcept = default;
    /// `variable` is of that type; neither is null.
    VariableInstance(void* variable, const VariableType* type) noexcept : mVariablePtr(variable), mVarType(type) {}

    /// Null when this is no variable.
    void* getPointer() const noexcept { return mVariablePtr; }
    const VariableType* getVarType() const noexcept { return mVarType; }

    /// Writes the value as it is at this moment, as one item.
    void writeTo(Network::Message::MessageBuilder& builder) const { mVarType->write(mVariablePtr, builder); }
    /// Reads a new value: a container of uint8, which holds one item with its tag. Other results than
    /// `VARIABLE_WRITTEN` leave the variable as it is.
    ///
    /// Asserts "Tried to write variable (name: " name ") that has no write access"; `VARIABLE_READ_ONLY`, and nothing
    /// is read then. Asserts "The replied message doesn't contain the reply variable"; `VARIABLE_MISMATCH` then. Throws
    /// `OutOfMemoryException`.
    Result assignFrom(Network::Message::MessageReader& reader) const;

private:
    void* mVariablePtr = nullptr;
    const VariableType* mVarType = nullptr;
};

} // namespace Tarq::Common::Debugger
