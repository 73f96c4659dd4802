#include "common/debugger/model/variableinstance.h"

#include "common/debug/assert.h"
#include "common/memory/memorystream.h"

namespace Tarq::Common::Debugger {

using Network::Message::MessageReader;

namespace {

/// Most values are numbers.
constexpr uint32 cBlockSize = 256;

} // namespace

VariableInstance::Result VariableInstance::assignFrom(MessageReader& reader) const {
    if (!TARQ_ASSERT_AS(nullptr, mVarType->isWritable(), "Tried to write variable (name: ", mVarType->getName(),
                        ") that has no write access"))
        return VARIABLE_READ_ONLY;
    Memory::MemoryStream value("variable", cBlockSize);
    bool isAssigned = reader.readStream(&value);
    if (isAssigned) {
        MessageReader valueReader(&value, true);
        isAssigned = mVarType->read(mVariablePtr, valueReader);
    }
    if (!TARQ_ASSERT_AS(nullptr, isAssigned, "The replied message doesn't contain the reply variable"))
        return VARIABLE_MISMATCH;
    return VARIABLE_WRITTEN;
}

} // namespace Tarq::Common::Debugger
