#include "common/debugger/handler/rpcmsghandler.h"

#include "common/debugger/call/rpchelper.h"
#include "common/debugger/model/module.h"
#include "common/debugger/server.h"

#include <algorithm>
#include <utility>

namespace Tarq::Common::Debugger {

namespace {

/// Calls wait: what they keep is no larger than it needs to be.
constexpr uint32 cLargestBlock = 65535;

} // namespace

RPCMsgHandler::RPCMsgHandler(Server* server) noexcept : RequestHandler(server, MessageID::CALL, nullptr) {}

RPCMsgHandler::~RPCMsgHandler() = default;

void RPCMsgHandler::reset() {
    RequestHandler::reset();
    mName = String();
    mFunctionID = FunctionID();
    mCount = 0;
}

bool RPCMsgHandler::handleMessage(MessageReader* reader, uint32 connection) {
    reset();
    if (!reader->read(mName))
        return TARQ_FAIL("Couldn't read the name of the remote procedure");
    const FunctionRegistrarPtr registrar = find();
    return registrar && call(*reader, connection, registrar);
}

/// The search stops at the first place that has functions of the name; more than one there is none that can be meant.
Reflection::Function::FunctionRegistrarPtr RPCMsgHandler::find() {
    if (findIn(mServer->getFunctionRegistrar())) {
        const bool isUnique = TARQ_ASSERT_AS(nullptr, mCount == 1, "The called RPC isn't unique by name (", mName,
                                             ") within Server, found (", mCount, ") registered RPC for given name");
        return isUnique ? mServer->getFunctionRegistrar() : FunctionRegistrarPtr();
    }
    const Container::IDVector<Module>& modules = mServer->getModules();
    for (auto at = modules.begin(); at != modules.end(); ++at) {
        const FunctionRegistrarPtr registrar = (*at)->getFunctionRegistrar();
        if (!findIn(registrar))
            continue;
        const bool isUnique =
            TARQ_ASSERT_AS(nullptr, mCount == 1, "The called RPC isn't unique by name (", mName, ") within Module (",
                           (*at)->getName(), "), found (", mCount, ") registered RPC for given name");
        return isUnique ? registrar : FunctionRegistrarPtr();
    }
    TARQ_FAIL("the RPC (", mName, ") isn't known within the server or any connected module (", modules.size(),
              " connected ) (trying to call function of removed module?)");
    return FunctionRegistrarPtr();
}

/// Whether it has functions of that name. Declarations alone do not count.
bool RPCMsgHandler::findIn(const FunctionRegistrarPtr& registrar) {
    const auto* const functionIDs = registrar->getFunctionIDs(mName);
    if (!functionIDs)
        return false;
    for (const FunctionID functionID : *functionIDs) {
        if (!registrar->providesFunction(functionID))
            continue;
        mFunctionID = functionID;
        ++mCount;
    }
    return mCount > 0;
}

/// The rest of the message is what the function gets.
bool RPCMsgHandler::call(MessageReader& reader, uint32 connection, const FunctionRegistrarPtr& registrar) {
    ClientKey client;
    if (!mServer->getClientKey(client, connection))
        return TARQ_FAIL("Internal Error: ClientInfo missing");
    const IO::Stream& message = *reader.getStream();
    const uint64 size = message.getLength() - message.getPosition();
    const auto blockSize = static_cast<uint32>(std::clamp<uint64>(size, 1, cLargestBlock));
    std::unique_ptr<Memory::MemoryStream> arguments(new (mServer->getAllocator())
                                                        Memory::MemoryStream("stream", blockSize));
    if (!reader.readToStream(arguments.get(), size))
        return false;
    std::unique_ptr<CallJob> job(new (mServer->getAllocator())
                                     CallJob(client, mName, registrar, mFunctionID, std::move(arguments)));
    RPCHelper* const helper = RPCHelper::getInstance();
    return helper && helper->call(std::move(job), mServer->getConnectionLimits());
}

} // namespace Tarq::Common::Debugger
