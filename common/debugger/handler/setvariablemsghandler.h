#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Changes a variable: uint32 moduleID, uint32 objInstanceID, uint32 variableID, and the value, one item in a container
/// of uint8. The answer repeats the three ids.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such object instance, 4 no such variable, 5 it is read-only, or
/// this is no value of its type.
class TARQ_API SetVariableMsgHandler final : public ModuleRequestHandler {
public:
    explicit SetVariableMsgHandler(Server* server) noexcept;
    ~SetVariableMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;

private:
    bool refuseUnknown();
    bool refuseMismatch();

    uint32 mObjectInstanceID = 0;
    uint32 mVariableID = 0;
    ObjectInstance* mObjectInstance = nullptr;
};

} // namespace Tarq::Common::Debugger
