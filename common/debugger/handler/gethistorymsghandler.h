#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Tells what has happened to an object instance: uint32 moduleID, uint32 objectInstanceID.
///
/// The answer repeats both; behind code and text, and also when it is refused, the game time and the system time of the
/// server, uint32 each. With code 0 then follow a uint32, the number of entries, and the entries, oldest first.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such object instance.
class TARQ_API GetHistoryMsgHandler final : public ModuleRequestHandler {
public:
    explicit GetHistoryMsgHandler(Server* server) noexcept;
    ~GetHistoryMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;
    void writeData(MessageBuilder& builder) override;

private:
    uint32 mObjectInstanceID = 0;
};

} // namespace Tarq::Common::Debugger
