#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/messageid.h"
#include "common/debugger/model/module.h"
#include "common/debugger/server.h"
#include "common/memory/allocate.h"

#include <algorithm>
#include <new>

/// The server's list of clients.
namespace Tarq::Common::Debugger {

using Debug::LOG_MESSAGE;

namespace {

constexpr char cSetClientInfo[] = "Tarq::Common::Debugger::Server::setClientInfo";
constexpr char cDisconnectClient[] = "Tarq::Common::Debugger::Server::disconnectClient";

} // namespace

bool Server::notifyConnection(uint32 connectionID) {
    const DataLock inside(sDataMutex);
    if (findClient(connectionID))
        return TARQ_FAIL("Tried to notify about a connection that is already known within the server");
    mConnectedClients.push_back(nullptr);
    try {
        void* const memory = Memory::allocateBytes(getAllocator(), sizeof(ClientInfo));
        mConnectedClients.back() = ::new (memory) ClientInfo(connectionID, ++mLastGeneration);
    } catch (...) {
        mConnectedClients.pop_back();
        throw;
    }
    return true;
}

bool Server::disconnectClient(uint32 connectionID) {
    const DataLock inside(sDataMutex);
    ClientInfo* ownClInfo = nullptr;
    if (!TARQ_ASSERT(getClientInfo(ownClInfo, connectionID), "Tried to disconnect unkown Client (not connected)"))
        return false;
    forgetClient(*ownClInfo);
    Debug::report({LOG_MESSAGE, cDisconnectClient}, "Disconnecting client (name: ", ownClInfo->mComputerName,
                  ", user: ", ownClInfo->mUserName, ")");
    removeClientInfo(connectionID);
    return true;
}

/// What it has begun ends, and its modules are without a client.
void Server::forgetClient(ClientInfo& ownClInfo) {
    if (mMakeStepFilter.mClient == &ownClInfo)
        mMakeStepFilter = StepFilter();
    if (isBreakpointHolding() && mModuleHolding->getClient() == &ownClInfo)
        makeContinue(&ownClInfo);
    for (auto at = mModules.begin(); at != mModules.end(); ++at) {
        const ClientInfo* const clInfo = (*at)->getClient();
        if (!clInfo || clInfo->mConnectionID != ownClInfo.mConnectionID)
            continue;
        TARQ_ASSERT_AS("ownClInfo == clInfo", &ownClInfo == clInfo,
                       "Internal Error: module has a matching socket but not the same clientInfo");
        disconnectModule(**at);
    }
    mNetworkStreams.removeOf(ownClInfo.mConnectionID);
}

void Server::removeClientInfo(uint32 connectionID) {
    const auto iter =
        std::find_if(mConnectedClients.begin(), mConnectedClients.end(),
                     [connectionID](const ClientInfo* client) { return client->mConnectionID == connectionID; });
    if (!TARQ_ASSERT(iter != mConnectedClients.end(), "Internal Error: Client not found"))
        return;
    deleteClient(*iter);
    mConnectedClients.erase(iter);
}

void Server::deleteClient(ClientInfo* client) noexcept {
    client->~ClientInfo();
    Memory::releaseBytes(getAllocator(), client);
}

ClientInfo* Server::findClient(uint32 connectionID) const noexcept {
    for (ClientInfo* const client : mConnectedClients) {
        if (client->mConnectionID == connectionID)
            return client;
    }
    return nullptr;
}

bool Server::getClientInfo(ClientInfo*& out, uint32 connectionID) {
    const DataLock inside(sDataMutex);
    ClientInfo* const client = findClient(connectionID);
    if (!client)
        return TARQ_FAIL("Internal error: missing ClientInfo for connectionID (", connectionID, "), known Clients (",
                         getClientCount(), ")");
    out = client;
    return true;
}

bool Server::getClientKey(ClientKey& out, uint32 connectionID) {
    const DataLock inside(sDataMutex);
    const ClientInfo* const client = findClient(connectionID);
    if (client)
        out = {client->mConnectionID, client->mGeneration};
    return client != nullptr;
}

uint32 Server::getClientCount() const {
    const DataLock inside(sDataMutex);
    return static_cast<uint32>(mConnectedClients.size());
}

bool Server::setClientInfo(uint32 connectionID, const String& computerName, const String& userName,
                           uint32 protocolVersion) {
    const DataLock inside(sDataMutex);
    if (protocolVersion != PROTOCOL_VERSION) {
        Debug::report({LOG_MESSAGE, cSetClientInfo}, "Client (", computerName, ", ", userName,
                      ") tried to connected with wrong protocolNumber (", protocolVersion, ") server uses (",
                      PROTOCOL_VERSION, ")");
        return false;
    }
    ClientInfo* const client = findClient(connectionID);
    if (!client)
        return TARQ_FAIL("Tried to set ClientInfo (", computerName, ", ", userName, ") for not connected socket");
    String keptComputerName = computerName;
    String keptUserName = userName;
    client->mComputerName.swap(keptComputerName);
    client->mUserName.swap(keptUserName);
    Debug::report({LOG_MESSAGE, cSetClientInfo}, "Connected client (name: ", computerName, ", user: ", userName, ")");
    return true;
}

bool Server::setClientBreakflag(uint32 connectionID) {
    const DataLock inside(sDataMutex);
    ClientInfo* const client = findClient(connectionID);
    if (!client)
        return TARQ_FAIL("Tried to set Breakflag for unknown Client");
    client->mBreakflag = true;
    return true;
}

} // namespace Tarq::Common::Debugger
