#pragma once

#include "bench/harness.h"

#include <cstring>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Tarq::Bench {

/// One end of a connection that waits for whatever it does.
class BlockingClient {
public:
    explicit BlockingClient(Common::uint16 port) : mDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        setsockopt(mDescriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        check(connect(mDescriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0,
              "a client cannot connect");
    }
    BlockingClient(BlockingClient&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
    ~BlockingClient() {
        if (mDescriptor >= 0)
            close(mDescriptor);
    }

    void send(const std::string& bytes) const {
        for (std::size_t sent = 0; sent < bytes.size();) {
            const ssize_t count = ::send(mDescriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            check(count > 0, "a client cannot send");
            sent += static_cast<std::size_t>(count);
        }
    }
    /// Receives as many bytes as there is room.
    void receive(std::string& bytes) const {
        for (std::size_t received = 0; received < bytes.size();) {
            const ssize_t count = recv(mDescriptor, bytes.data() + received, bytes.size() - received, 0);
            check(count > 0, "a client receives nothing");
            received += static_cast<std::size_t>(count);
        }
    }

    int getDescriptor() const { return mDescriptor; }

private:
    int mDescriptor;
};

/// So many bytes, behind their number.
inline std::string packetOf(std::size_t size) {
    std::string bytes(4 + size, 'x');
    const uint32 prefix = htonl(static_cast<uint32>(size));
    std::memcpy(bytes.data(), &prefix, sizeof(prefix));
    return bytes;
}

} // namespace Tarq::Bench
