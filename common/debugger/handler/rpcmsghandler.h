#pragma once

#include "common/debugger/handler/requesthandler.h"
#include "common/reflection/function/functionregistrar.h"

namespace Tarq::Common::Debugger {

/// Has a function of the host called: string procedure name, and the arguments as typed items. A function of the server
/// counts first, then one of the modules, in the order of their IDs. The answer repeats the name, and has the result as
/// a typed item if there is one; a call that comes to nothing is not answered.
class TARQ_API RPCMsgHandler final : public RequestHandler {
public:
    explicit RPCMsgHandler(Server* server) noexcept;
    ~RPCMsgHandler() override;

    void reset() override;
    bool handleMessage(Network::Message::MessageReader* reader, uint32 connection) override;

private:
    using FunctionID = Reflection::Function::FunctionID;
    using FunctionRegistrarPtr = Reflection::Function::FunctionRegistrarPtr;

    FunctionRegistrarPtr find();
    bool findIn(const FunctionRegistrarPtr& registrar);
    bool call(MessageReader& reader, uint32 connection, const FunctionRegistrarPtr& registrar);

    String mName;
    FunctionID mFunctionID;
    uint32 mCount = 0; ///< of the functions of that name where the search stops
};

} // namespace Tarq::Common::Debugger
