#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Has a breakpoint hold, or not any more: uint32 moduleID, uint32 breakpointInstanceID, bool newValue. The answer
/// repeats all three.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such breakpoint, 4 nothing changes.
class TARQ_API SetBreakpointMsgHandler final : public ModuleRequestHandler {
public:
    explicit SetBreakpointMsgHandler(Server* server) noexcept;
    ~SetBreakpointMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;

private:
    uint32 mBreakpointInstanceID = 0;
    bool mNewValue = false;
    BreakpointInstance* mBreakpointInstance = nullptr;
};

} // namespace Tarq::Common::Debugger
