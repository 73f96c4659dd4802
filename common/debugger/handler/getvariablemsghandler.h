#pragma once

#include "common/debugger/handler/modulerequesthandler.h"

namespace Tarq::Common::Debugger {

/// Tells the value of a variable: uint32 moduleID, uint32 objInstanceID, uint32 variableID.
///
/// The answer repeats all three; behind code 0 and text follows the value, one item in a container of uint8.
///
/// Codes: 1 no such module, 2 not connected to it, 3 no such object instance, 4 no such variable.
class TARQ_API GetVariableMsgHandler final : public ModuleRequestHandler {
public:
    explicit GetVariableMsgHandler(Server* server) noexcept;
    ~GetVariableMsgHandler() override;

    void reset() override;

protected:
    bool readFields(MessageReader& reader) override;
    bool find() override;
    bool act(MessageReader& reader) override;
    void writeFields(MessageBuilder& builder) const override;
    void writeData(MessageBuilder& builder) override;

private:
    uint32 mObjectInstanceID = 0;
    uint32 mVariableID = 0;
    ObjectInstance* mObjectInstance = nullptr;
    std::unique_ptr<Memory::MemoryStream> mValue; ///< as it is behind code and text
};

} // namespace Tarq::Common::Debugger
