#include "common/debugger/tcpconnectionlayer.h"

#include "common/debug/assert.h"
#include "common/debug/report.h"
#include "common/debugger/internal/tcpconnection.h"
#include "common/debugger/server.h"
#include "common/debugger/tcpincommingconnectionhandler.h"
#include "common/network/network.h"
#include "common/network/sockets/socketerrortext.h"
#include "common/threading/thread.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Tarq::Common::Debugger {

using Network::Sockets::HostAddress;
using Network::Sockets::Socket;
using Network::Sockets::TCPSocket;
using ConnectionLock = Threading::ScopedLock<Threading::SpinLock>;

namespace {

/// The system's maximum.
constexpr int cBacklog = 0x7FFFFFFF;

constexpr char cConnectFunction[] = "Tarq::Common::Debugger::TCPConnectionLayer::connect";
constexpr char cNewConnectionFunction[] = "Tarq::Common::Debugger::TCPConnectionLayer::newConnection";

int32 toMicroseconds(Platform::MilliSeconds waitTime) noexcept {
    constexpr uint64 cLongest = std::numeric_limits<int32>::max();
    return static_cast<int32>(std::min(uint64{waitTime.mCount} * 1000, cLongest));
}

const char* lastErrorText() noexcept {
    return Network::Sockets::getSocketErrorText(Socket::getLastError());
}

} // namespace

TCPConnectionLayer::NetworkService::NetworkService() : mIsUp(Network::InitializeNetwork()) {}

TCPConnectionLayer::NetworkService::~NetworkService() {
    if (mIsUp)
        Network::CloseNetwork();
}

TCPConnectionLayer::TCPConnectionLayer(Server* server, Platform::MilliSeconds waitTime)
    : mServer(server), mWaitMilliseconds(waitTime.mCount),
      mReactor(new (getAllocator()) Network::Reactor(getAllocator(), toMicroseconds(waitTime))),
      mConnections(getAllocator()) {
    mReactor->setLimits(server->getConnectionLimits());
}

TCPConnectionLayer::~TCPConnectionLayer() {
    close();
    // The reactor deletes the handlers, which use the sockets of the records.
    mReactor.reset();
    for (TCPConnection* const connection : mConnections)
        delete connection;
    while (TCPConnection* const connection = mRetired) {
        mRetired = connection->mNextRetired;
        delete connection;
    }
}

bool TCPConnectionLayer::connect(const HostAddress& address) {
    if (!TARQ_ASSERT(!mListeningSocket, "Tried to listen on a second address"))
        return false;
    std::unique_ptr<TCPSocket> socket(new (getAllocator()) TCPSocket(address.getAddressFamily()));
    if (!socket->isValid()) {
        Debug::report({Debug::LOG_ERROR, cConnectFunction},
                      "Error during creating listening socket of debugger server: ", lastErrorText());
        return false;
    }
    if (!socket->listen(address, cBacklog) || !socket->getLocalAddress(&mListeningAddress)) {
        Debug::report({Debug::LOG_ERROR, cConnectFunction},
                      "Error at start listening on socket of debugger server: ", lastErrorText());
        return false;
    }
    std::unique_ptr<TCPIncommingConnectionHandler> handler(new (getAllocator())
                                                               TCPIncommingConnectionHandler(socket.get(), this));
    if (!mReactor->registerEventHandler(handler.get()))
        return false;
    mListeningHandler = handler.release();
    mListeningSocket = std::move(socket);
    return true;
}

void TCPConnectionLayer::close() {
    if (!mListeningSocket)
        return;
    if (mIsAcceptPaused)
        delete mListeningHandler;
    else
        mReactor->removeConnection(mListeningSocket.get());
    mIsAcceptPaused = false;
    mListeningHandler = nullptr;
    mListeningSocket.reset();
}

bool TCPConnectionLayer::newConnection(std::unique_ptr<TCPSocket> socket, const HostAddress& peer) {
    if (!isRoomFor(peer) || !mServer->isPeerAccepted(peer))
        return true;
    std::unique_ptr<TCPConnection> connection(new (getAllocator()) TCPConnection(std::move(socket)));
    // Until it is whole, nobody sends over it, or disconnects it.
    const Server::DataLock nobodyElse(Server::getDataMutex());
    connection->mConnectionID = enter(connection.get());
    try {
        return serve(connection);
    } catch (...) {
        // What is not handed over yet goes with the owner.
        if (connection) {
            const ConnectionLock inside(mReactor->getConnectionLock());
            mConnections.remove(connection->mConnectionID);
        }
        throw;
    }
}

/// Connections that wait to be released have a descriptor as well, and a place in the wait.
bool TCPConnectionLayer::isRoomFor(const HostAddress& peer) const {
    const uint32 limit = mReactor->getLimits().mMaxConnections;
    {
        const ConnectionLock inside(mReactor->getConnectionLock());
        if (mConnections.size() + mRetiredCount < limit)
            return true;
    }
    Debug::report({Debug::LOG_ERROR, cNewConnectionFunction}, "A connection of ", peer.toString(),
                  " is closed: there are ", limit, " already");
    return false;
}

/// Takes the connection over when it is served.
bool TCPConnectionLayer::serve(std::unique_ptr<TCPConnection>& connection) {
    const uint32 connectionID = connection->mConnectionID;
    if (!registerHandlers(*connection)) {
        const ConnectionLock inside(mReactor->getConnectionLock());
        mConnections.remove(connectionID);
        return false;
    }
    TCPSocket* const socket = connection.release()->mSocket.get();
    bool isKnown = false;
    try {
        isKnown = mServer->notifyConnection(connectionID);
    } catch (...) {
        retire(connectionID);
        mReactor->removeConnectionRequest(socket);
        throw;
    }
    if (!isKnown) {
        retire(connectionID);
        mReactor->removeConnectionRequest(socket);
    }
    return isKnown;
}

bool TCPConnectionLayer::registerHandlers(TCPConnection& connection) {
    TCPSocket* const socket = connection.mSocket.get();
    std::unique_ptr<Network::TCPPacketSendHandler> sendHandler(
        new (getAllocator()) Network::TCPPacketSendHandler(socket, mReactor.get()));
    std::unique_ptr<TCPPacketReceiveHandler> receiveHandler(new (getAllocator()) TCPPacketReceiveHandler(
        socket, this, connection.mConnectionID, mReactor->getLimits().mMaxMessageLength));
    const bool isSending = mReactor->registerEventHandler(sendHandler.get());
    if (isSending && mReactor->registerEventHandler(receiveHandler.get())) {
        connection.mSendHandler = sendHandler.release();
        connection.mReceiveHandler = receiveHandler.release();
        return true;
    }
    if (isSending)
        mReactor->unregisterEventHandler(sendHandler.get());
    return TARQ_FAIL("ERROR in TCPIncommingConnectionHandler: registration of new read/write handler failed");
}

uint32 TCPConnectionLayer::enter(TCPConnection* connection) {
    const ConnectionLock inside(mReactor->getConnectionLock());
    return mConnections.add(connection);
}

TCPConnection* TCPConnectionLayer::find(uint32 connectionID) const {
    const ConnectionLock inside(mReactor->getConnectionLock());
    return mConnections.get(connectionID);
}

/// Frees the ID; nobody finds the connection any more.
void TCPConnectionLayer::retire(uint32 connectionID) {
    const ConnectionLock inside(mReactor->getConnectionLock());
    TCPConnection* const connection = mConnections.get(connectionID);
    mConnections.remove(connectionID);
    connection->mNextRetired = std::exchange(mRetired, connection);
    ++mRetiredCount;
}

void TCPConnectionLayer::releaseRetired() {
    TCPConnection* gone = nullptr;
    {
        const ConnectionLock inside(mReactor->getConnectionLock());
        for (TCPConnection** link = &mRetired; TCPConnection* const connection = *link;) {
            if (mReactor->hasConnection(connection->mSocket.get())) {
                link = &connection->mNextRetired;
            } else {
                *link = std::exchange(connection->mNextRetired, gone);
                gone = connection;
                --mRetiredCount;
            }
        }
    }
    while (TCPConnection* const connection = gone) {
        gone = connection->mNextRetired;
        delete connection;
    }
}

bool TCPConnectionLayer::send(uint32 connectionID, IO::Stream* message) {
    {
        const ConnectionLock inside(mReactor->getConnectionLock());
        if (const TCPConnection* const connection = mConnections.get(connectionID))
            return connection->mSendHandler->queueMessage(message);
    }
    return TARQ_FAIL("Tried to send a message to unknown Connection: connectionID (", connectionID, ")");
}

bool TCPConnectionLayer::disconnect(uint32 connectionID) {
    // Nobody else disconnects it meanwhile.
    const Server::DataLock inside(Server::getDataMutex());
    const TCPConnection* const connection = find(connectionID);
    if (!connection)
        return TARQ_FAIL("Tried to remove a TCPConnection with unknown connectionID (", connectionID, ")");
    TCPSocket* const socket = connection->mSocket.get();
    TARQ_ASSERT_AS("disconnectClient(connectionID)", mServer->disconnectClient(connectionID),
                   "Internal Error during Server::disconnectClient");
    // First, so that nobody queues a message on a handler that the reactor deletes.
    retire(connectionID);
    TARQ_ASSERT_AS("mReactor->removeConnectionRequest(tcpConnection->mSocket)",
                   mReactor->removeConnectionRequest(socket), "Internal Error removing connection from reactor");
    return true;
}

int32 TCPConnectionLayer::processEvents() {
    bool isFine = mReactor->removeDirtyConnections();
    releaseRetired();
    isFine = isFine && handleEvents() && mReactor->handleNoSocketEvents();
    disconnectFailed();
    return isFine ? 0 : -1;
}

bool TCPConnectionLayer::handleEvents() {
    if (std::exchange(mHasAcceptFailed, false))
        mIsAcceptPaused = mReactor->unregisterEventHandler(mListeningHandler);
    bool hasConnections = true;
    if (mIsAcceptPaused) {
        const ConnectionLock inside(mReactor->getConnectionLock());
        hasConnections = !mConnections.empty();
    }
    // The reactor does not wait for nothing.
    if (!hasConnections)
        Threading::Thread::sleep(mWaitMilliseconds);
    const bool isFine = mReactor->handleEvents();
    if (mIsAcceptPaused)
        mIsAcceptPaused = !mReactor->registerEventHandler(mListeningHandler);
    return isFine;
}

void TCPConnectionLayer::acceptFailed() {
    mHasAcceptFailed = true;
}

/// The listener is heard further on; what it could not serve is gone.
void TCPConnectionLayer::disconnectFailed() {
    while (const TCPSocket* const socket = mReactor->takeFailedConnection()) {
        if (socket != mListeningSocket.get())
            disconnectFailed(socket);
    }
}

void TCPConnectionLayer::disconnectFailed(const TCPSocket* socket) {
    const Server::DataLock inside(Server::getDataMutex());
    const TCPConnection* failed = nullptr;
    {
        const ConnectionLock locked(mReactor->getConnectionLock());
        for (const TCPConnection* const connection : mConnections) {
            if (connection->mSocket.get() == socket)
                failed = connection;
        }
    }
    // It may have been disconnected meanwhile.
    if (failed)
        disconnect(failed->mConnectionID);
}

void TCPConnectionLayer::messageReceived(uint32 clientID, IO::Stream* message) {
    // Another thread may disconnect the client, and has what it says not heard any more.
    const Server::DataLock inside(Server::getDataMutex());
    if (find(clientID))
        mServer->messageReceived(clientID, message);
}

void TCPConnectionLayer::connectionLost(uint32 clientID) {
    const Server::DataLock inside(Server::getDataMutex());
    if (find(clientID))
        disconnect(clientID);
}

} // namespace Tarq::Common::Debugger
