#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Has the history record a variable of an object instance, or not any more: uint32 moduleID, uint32 objInstanceID,
/// uint32 variableID, bool newFlag. The answer repeats all four.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such object instance, 4 no such variable, 5 nothing changes.
class TARQ_API SetWatchesMsgHandler final : public ModuleRequestHandler {
public:
    explicit SetWatchesMsgHandler(Server* server) noexcept;
    ~SetWatchesMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;

private:
    uint32 mObjectInstanceID = 0;
    uint32 mVariableID = 0;
    bool mNewFlag = false;
    ObjectInstance* mObjectInstance = nullptr;
};

} // namespace Tarq::Common::Debugger
