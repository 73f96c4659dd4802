#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Gives a breakpoint a condition: uint32 moduleID, uint32 breakpointInstanceID, and a container of uint8 that holds
/// the formula as an XML document; an empty one takes the condition away. The answer repeats both ids.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such breakpoint, 4 no formula, or none of a truth value; there
/// is no condition then.
class TARQ_API SetBreakpointConditionMsgHandler final : public ModuleRequestHandler {
public:
    explicit SetBreakpointConditionMsgHandler(Server* server) noexcept;
    ~SetBreakpointConditionMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;

private:
    uint32 mBreakpointInstanceID = 0;
    std::unique_ptr<Memory::MemoryStream> mConditionStream;
    BreakpointInstance* mBreakpointInstance = nullptr;
};

} // namespace Tarq::Common::Debugger
