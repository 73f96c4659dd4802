#pragma once

#include "tool/client/failure.h"
#include "tool/client/frame.h"
#include "tool/client/outbox.h"

#include "common/network/sockets/tcpsocket.h"

#include <optional>
#include <span>

namespace Tarq::Tool {

/// What a peer may cost, and what it is spared. In bytes, but for the last.
struct ConnectionLimits {
    Common::uint32 maxMessageLength = 64 * 1024 * 1024; ///< of a message that comes
    Common::uint32 maxUnanswered = 1024;                ///< of requests that are on their way
    /// Of messages that wait to be sent and are not answered: about 1 MiB of what a host asks for and does not take.
    Common::uint32 maxSilent = 16384;
};

/// One connection to a host, from the attempt to its end: whole messages out and in.
///
/// Threads: one. Nothing waits but `process`, and that no longer than it is told.
/// States: connecting, open, ended; an ended one stays so. Messages that came before the end are still there.
class Connection {
public:
    /// Begins to connect. `address` has a port. Throws `OutOfMemoryException`.
    Connection(const Common::Network::Sockets::HostAddress& address, const ConnectionLimits& limits);

    bool isConnecting() const noexcept { return mState == CONNECTING; }
    bool isOpen() const noexcept { return mState == OPEN; }
    bool hasEnded() const noexcept { return mState == ENDED; }
    /// Why it has ended.
    const Failure& getFailure() const noexcept { return *mFailure; }

    /// Where messages are put that are to be sent, also before the connection is open.
    Outbox& getOutbox() noexcept { return mOutbox; }

    /// Waits until there is something to do, at most `timeoutMicroseconds` (negative: without limit), and does it: ends
    /// the attempt to connect, receives, or sends. Does nothing while `nextMessage` has not returned null.
    /// The wait ends with the handle, too.
    void process(Common::int32 timeoutMicroseconds, Common::Network::Sockets::Socket::Wake& wake);
    /// The next message that has come whole, valid until the next call; null when there is none.
    Common::Memory::MemoryStream* nextMessage();

private:
    enum State : Common::uint8 { CONNECTING, OPEN, ENDED };

    void tryConnect();
    bool isConnectedToItself() const;
    void receive();
    void send(bool endsOnFailure);
    void end(Failure failure);

    Common::Network::Sockets::HostAddress mAddress;
    Common::Network::Sockets::TCPSocket mSocket;
    State mState = CONNECTING;
    std::optional<Failure> mFailure;
    Outbox mOutbox;
    FrameAssembler mAssembler;
    Common::Container::Vector<Common::uint8> mReceived; ///< the bytes of one receive
    std::span<const Common::uint8> mUnread;             ///< of these, what belongs to no message yet
};

} // namespace Tarq::Tool
