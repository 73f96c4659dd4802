#pragma once

#include "bench/harness.h"
#include "common/debugger/packetlistener.h"
#include "common/network/reactor.h"
#include "common/network/tcppacketsendhandler.h"

#include <memory>
#include <string>
#include <vector>

/// What a client of a network case talks to, once as ours and once as the peer. Both listen on a port of the loopback
/// address, and know packets: the number of their bytes in four bytes, the most significant one first, and the bytes.
namespace Tarq::Bench {

/// What a server sends back for a packet.
enum class Answer {
    ANSWER_SAME,
    ANSWER_EMPTY,
    ANSWER_LARGE, ///< a packet with `cLargeSize` bytes
};

inline constexpr uint32 cLargeSize = 10 << 20;
/// How long a server waits at most before it looks after other things.
inline constexpr uint32 cWaitMilliseconds = 20;

/// The handlers of the library, driven in steps by their owner.
class OurServer final : Common::Debugger::PacketListener {
public:
    explicit OurServer(Answer answer);
    ~OurServer();

    Common::uint16 getPort() const { return mPort; }
    /// Takes one connection.
    void accept();
    /// Serves until a client goes.
    void serve();
    /// Waits once, and serves what is ready.
    void step();

private:
    void messageReceived(uint32 clientID, Common::IO::Stream* message) override;
    void connectionLost(uint32) override { mIsEnding = true; }

    Answer mAnswer;
    bool mIsEnding = false;
    Common::uint16 mPort = 0;
    Common::Network::Sockets::TCPSocket mListener;
    std::vector<std::unique_ptr<Common::Network::Sockets::TCPSocket>> mSockets;
    std::vector<Common::Network::TCPPacketSendHandler*> mSenders;
    Common::Network::Reactor mReactor;
};

/// The same with a loop of libuv.
class UvServer {
public:
    explicit UvServer(Answer answer);
    ~UvServer();
    UvServer(const UvServer&) = delete;
    UvServer& operator=(const UvServer&) = delete;

    Common::uint16 getPort() const { return mPort; }
    void accept();
    void serve();
    void step();

    // For its connections.

    Answer getAnswer() const { return mAnswer; }
    void end();

private:
    struct Connection;
    struct Loop;

    Answer mAnswer;
    Common::uint16 mPort = 0;
    int mListener = -1;
    std::unique_ptr<Loop> mLoop;
    std::vector<std::unique_ptr<Connection>> mConnections;
};

} // namespace Tarq::Bench
