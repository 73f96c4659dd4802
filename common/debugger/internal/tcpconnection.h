#pragma once

#include "common/debugger/tcppacketreceivehandler.h"
#include "common/network/tcppacketsendhandler.h"

#include <memory>

namespace Tarq::Common::Debugger {

/// What the TCP layer keeps for a connection. It lives until the reactor has let go of the socket.
class TCPConnection : public Memory::MemoryManaged {
public:
    explicit TCPConnection(std::unique_ptr<Network::Sockets::TCPSocket> socket) noexcept : mSocket(std::move(socket)) {}

    std::unique_ptr<Network::Sockets::TCPSocket> mSocket;
    Network::TCPPacketSendHandler* mSendHandler = nullptr; ///< the reactor's
    TCPPacketReceiveHandler* mReceiveHandler = nullptr;    ///< the reactor's
    uint32 mConnectionID = 0;
    TCPConnection* mNextRetired = nullptr;
};

} // namespace Tarq::Common::Debugger
