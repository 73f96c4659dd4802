#pragma once

#include "common/debugger/packetlistener.h"
#include "common/network/inputhandler.h"

namespace Tarq::Common::Debugger {

/// Receives packets: the number of their bytes in four bytes, the most significant one first, and the bytes. The four
/// bytes arrive in one piece, the others as they like. A packet without bytes is a message as well.
///
/// One event receives the length, or at most 256 bytes. A failure is final, and told to the listener, as far as
/// `PacketListener::connectionLost` says; so is a length above the limit, or one that there is no memory for, which are
/// logged.
class TARQ_API TCPPacketReceiveHandler : public Network::InputHandler {
public:
    /// The most that one event receives.
    static constexpr uint32 cLargestReceive = 256;

    /// The listener outlives the handler.
    TCPPacketReceiveHandler(Network::Sockets::TCPSocket* socket, PacketListener* listener, uint32 clientID,
                            uint32 maxMessageLength) noexcept;
    ~TCPPacketReceiveHandler() override;

    bool handleEvent() override;

private:
    bool handleState();
    bool readLength();
    bool readData();
    bool finishMessage();
    void startMessage();
    bool lose();

    uint32 mBytesCurr = 0; ///< received of the current phase
    uint32 mByteMax = 0;   ///< to be received in the current phase
    PacketListener* mListener;
    uint32 mClientID;
    uint32 mMaxMessageLength;
};

} // namespace Tarq::Common::Debugger
