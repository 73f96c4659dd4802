#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Has every breakpoint hold that an object instance enters, or not any more: uint32 ModuleID, uint32 ObjectInstanceID,
/// bool newValue. The answer repeats all three.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such object instance, 4 nothing changes.
class TARQ_API SetBreakpointObjectInstanceMsgHandler final : public ModuleRequestHandler {
public:
    explicit SetBreakpointObjectInstanceMsgHandler(Server* server) noexcept;
    ~SetBreakpointObjectInstanceMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;

private:
    uint32 mObjectInstanceID = 0;
    bool mNewValue = false;
    ObjectInstance* mObjectInstance = nullptr;
};

} // namespace Tarq::Common::Debugger
