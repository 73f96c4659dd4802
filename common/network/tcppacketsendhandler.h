#pragma once

#include "common/network/outputhandler.h"

namespace Tarq::Common::Network {

/// Sends each queued message as a packet: the number of its bytes in four bytes, the most significant one first, and
/// the bytes of the stream from its start. Nothing stands between packets.
///
/// One event sends the length, or at most 256 bytes. A failure is asserted, and final.
class TARQ_API TCPPacketSendHandler : public OutputHandler {
public:
    /// The most that one event sends.
    static constexpr uint32 cLargestSend = 256;

    TCPPacketSendHandler(Sockets::TCPSocket* socket, Reactor* reactor) noexcept;
    ~TCPPacketSendHandler() override;

    bool handleEvent() override;

private:
    bool handleState();
    Sockets::TCPSocket::Continuation continuationBefore(uint32 numBytes) const noexcept;
    bool sendLength();
    bool sendData();
    bool fail() noexcept;

    uint32 mBytesCurr = 0; ///< payload bytes of the oldest message that are sent
    uint32 mByteMax = 0;   ///< payload bytes of the oldest message
};

} // namespace Tarq::Common::Network
