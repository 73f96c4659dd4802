#include "common/debugger/handler/defaulthandlers.h"

#include "common/debugger/handler/continuemsghandler.h"
#include "common/debugger/handler/gethistorymsghandler.h"
#include "common/debugger/handler/getvariablemsghandler.h"
#include "common/debugger/handler/identityreplymsghandler.h"
#include "common/debugger/handler/makestepmsghandler.h"
#include "common/debugger/handler/moduleconnectmsghandler.h"
#include "common/debugger/handler/moduledisconnectmsghandler.h"
#include "common/debugger/handler/networkstreamanswermsghandler.h"
#include "common/debugger/handler/networkstreamderegistermsghandler.h"
#include "common/debugger/handler/networkstreamregistermsghandler.h"
#include "common/debugger/handler/rpcmsghandler.h"
#include "common/debugger/handler/setbreakpointclientmsghandler.h"
#include "common/debugger/handler/setbreakpointconditionmsghandler.h"
#include "common/debugger/handler/setbreakpointmsghandler.h"
#include "common/debugger/handler/setbreakpointobjectinstancemsghandler.h"
#include "common/debugger/handler/setvariablemsghandler.h"
#include "common/debugger/handler/setwatchesmsghandler.h"
#include "common/debugger/server.h"

#include <memory>

namespace Tarq::Common::Debugger {

namespace {

template <class Handler>
bool registerHandler(Server& server) {
    std::unique_ptr<Handler> handler(new (server.getAllocator()) Handler(&server));
    if (!server.registerMessageHandler(handler.get()))
        return false;
    static_cast<void>(handler.release());
    return true;
}

template <class... Handlers>
bool registerHandlers(Server& server) {
    return (registerHandler<Handlers>(server) && ...);
}

} // namespace

bool registerDefaultMessageHandlers(Server& server) {
    return registerHandlers<GetHistoryMsgHandler, GetVariableMsgHandler, IdentityReplyMsgHandler, ContinueMsgHandler,
                            MakeStepMsgHandler, ModuleConnectMsgHandler, ModuleDisconnectMsgHandler,
                            NetworkStreamAnswerMsgHandler, NetworkStreamDeregisterMsgHandler,
                            NetworkStreamRegisterMsgHandler, RPCMsgHandler, SetBreakpointClientMsgHandler,
                            SetBreakpointConditionMsgHandler, SetBreakpointMsgHandler,
                            SetBreakpointObjectInstanceMsgHandler, SetVariableMsgHandler, SetWatchesMsgHandler>(server);
}

} // namespace Tarq::Common::Debugger
