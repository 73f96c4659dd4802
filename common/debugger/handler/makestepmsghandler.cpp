#include "common/debugger/handler/makestepmsghandler.h"

#include "common/debugger/server.h"

namespace Tarq::Common::Debugger {

namespace {

constexpr char cLayout[] = "makeStepMsgHandler: { bool:objectInstanceFilter, uint32:breakpointTypeFilterID }";

} // namespace

MakeStepMsgHandler::MakeStepMsgHandler(Server* server) noexcept
    : RequestHandler(server, MessageID::MAKE_STEP, cLayout) {}

MakeStepMsgHandler::~MakeStepMsgHandler() = default;

bool MakeStepMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    bool objectInstanceFilter = false;
    uint32 breakpointTypeFilterID = 0;
    return readField(*reader, objectInstanceFilter, "objectInstanceFilter") &&
           readField(*reader, breakpointTypeFilterID, "breakpointTypeFilterID") &&
           mServer->makeStep(connection, objectInstanceFilter, breakpointTypeFilterID);
}

} // namespace Tarq::Common::Debugger
