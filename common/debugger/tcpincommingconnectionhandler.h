#pragma once

#include "common/debugger/tcpconnectionlayer.h"
#include "common/network/inputhandler.h"

namespace Tarq::Common::Debugger {

/// Takes connections from a listening socket and hands them to the layer, one in each event.
class TARQ_API TCPIncommingConnectionHandler final : public Network::InputHandler {
public:
    /// Both outlive the handler.
    TCPIncommingConnectionHandler(Network::Sockets::TCPSocket* socket, TCPConnectionLayer* layer) noexcept
        : InputHandler(socket), mLayer(layer) {}
    ~TCPIncommingConnectionHandler() override;

    bool initialize() override { return true; }
    /// False when a connection that was taken cannot be served; the next event is handled all the same.
    bool handleEvent() override { return handle(); }

private:
    bool handle();

    TCPConnectionLayer* mLayer;
    int32 mLastError = 0; ///< of the accept before; told once as long as it stays the same
};

} // namespace Tarq::Common::Debugger
