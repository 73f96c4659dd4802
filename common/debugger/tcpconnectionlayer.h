#pragma once

#include "common/container/idvector.h"
#include "common/debugger/connectionlayer.h"
#include "common/debugger/packetlistener.h"
#include "common/network/reactor.h"

#include <memory>

namespace Tarq::Common::Debugger {

class TCPConnection;
class TCPIncommingConnectionHandler;

/// Carries messages over TCP, each as a packet: its length in four bytes, the most significant one first, and its
/// bytes. Drives one reactor.
///
/// A connection gets the ID that was freed last, or else the lowest that never was one. Whoever connects beyond the
/// server's limit, or is not let in by its filter, finds the connection closed. A connection that fails is
/// disconnected; the others do not notice.
class TARQ_API TCPConnectionLayer final : public ConnectionLayer, private PacketListener {
public:
    /// The server outlives the layer. A pass waits for at most `waitTime`.
    TCPConnectionLayer(Server* server, Platform::MilliSeconds waitTime);
    ~TCPConnectionLayer() override;

    bool connect(const Network::Sockets::HostAddress& address) override;
    void close() override;
    bool send(uint32 connectionID, IO::Stream* message) override;
    bool disconnect(uint32 connectionID) override;
    int32 processEvents() override;
    /// Does nothing: every pass ends by itself after the wait time.
    void interrupt() override {}

    /// For the listening handler: takes an accepted socket over. Closes it when there is no room for the peer, or it is
    /// not let in; true then. False, or what it throws, when the connection cannot be served; it is closed then.
    bool newConnection(std::unique_ptr<Network::Sockets::TCPSocket> socket, const Network::Sockets::HostAddress& peer);
    /// For the listening handler: a connection that waits could not be taken. It would wait on, and keep the others
    /// from being served; so the listener sits out one wait.
    void acceptFailed();

private:
    void messageReceived(uint32 clientID, IO::Stream* message) override;
    void connectionLost(uint32 clientID) override;

    bool isRoomFor(const Network::Sockets::HostAddress& peer) const;
    bool serve(std::unique_ptr<TCPConnection>& connection);
    bool registerHandlers(TCPConnection& connection);
    uint32 enter(TCPConnection* connection);
    TCPConnection* find(uint32 connectionID) const;
    void retire(uint32 connectionID);
    void releaseRetired();
    bool handleEvents();
    void disconnectFailed();
    void disconnectFailed(const Network::Sockets::TCPSocket* socket);

    /// The system's socket service, as long as this lives.
    class NetworkService {
    public:
        NetworkService();
        ~NetworkService();
        NetworkService(const NetworkService&) = delete;
        NetworkService& operator=(const NetworkService&) = delete;

    private:
        bool mIsUp;
    };

    NetworkService mNetworkService;
    Server* mServer;
    uint32 mWaitMilliseconds;
    std::unique_ptr<Network::Reactor> mReactor;
    std::unique_ptr<Network::Sockets::TCPSocket> mListeningSocket;
    TCPIncommingConnectionHandler* mListeningHandler = nullptr; ///< the reactor's while it is registered
    bool mIsAcceptPaused = false;
    bool mHasAcceptFailed = false;

    Container::IDVector<TCPConnection> mConnections; ///< guarded by the reactor's connection lock
    /// Those whose ID is free already, but that the reactor has not let go of yet; likewise.
    TCPConnection* mRetired = nullptr;
    uint32 mRetiredCount = 0;
};

} // namespace Tarq::Common::Debugger
