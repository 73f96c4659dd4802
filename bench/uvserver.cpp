#include "bench/echoserver.h"

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#include <uv.h>

namespace Tarq::Bench {

namespace {

void checkUv(int result) {
    check(result >= 0, result < 0 ? uv_strerror(result) : "");
}

/// A packet on its way out.
struct Sending {
    uv_write_t request;
    uint32 prefix;
    std::string bytes;
};

} // namespace

struct UvServer::Connection {
    explicit Connection(UvServer* owner) : server(owner) {}

    /// Takes what has arrived, packet by packet.
    void receive(const char* bytes, std::size_t count) {
        while (count != 0) {
            std::size_t taken = 0;
            if (prefixSize < sizeof(prefix)) {
                taken = std::min(count, sizeof(prefix) - prefixSize);
                std::memcpy(reinterpret_cast<char*>(&prefix) + prefixSize, bytes, taken);
                prefixSize += taken;
            } else {
                taken = std::min(count, ntohl(prefix) - payload.size());
                payload.append(bytes, taken);
            }
            bytes += taken;
            count -= taken;
            if (prefixSize == sizeof(prefix) && payload.size() == ntohl(prefix))
                answer();
        }
    }
    void answer() {
        auto* const sending = new Sending{};
        if (server->getAnswer() == Answer::ANSWER_SAME)
            sending->bytes = payload;
        if (server->getAnswer() == Answer::ANSWER_LARGE)
            sending->bytes.assign(cLargeSize, 'x');
        sending->prefix = htonl(static_cast<uint32>(sending->bytes.size()));
        const uv_buf_t buffers[] = {
            uv_buf_init(reinterpret_cast<char*>(&sending->prefix), sizeof(sending->prefix)),
            uv_buf_init(sending->bytes.data(), static_cast<unsigned>(sending->bytes.size())),
        };
        sending->request.data = sending;
        const int result = uv_write(&sending->request, reinterpret_cast<uv_stream_t*>(&handle), buffers, 2,
                                    [](uv_write_t* request, int) { delete static_cast<Sending*>(request->data); });
        // The loop is no place to throw in. The client misses its answer.
        if (result < 0)
            server->end();
        payload.clear();
        prefixSize = 0;
    }

    UvServer* server;
    uv_tcp_t handle{};
    uint32 prefix = 0;
    std::size_t prefixSize = 0;
    std::string payload;
    char room[65536];
};

struct UvServer::Loop {
    uv_loop_t loop;
    uv_timer_t timer;
};

UvServer::UvServer(Answer answer) : mAnswer(answer), mLoop(std::make_unique<Loop>()) {
    checkUv(uv_loop_init(&mLoop->loop));
    checkUv(uv_timer_init(&mLoop->loop, &mLoop->timer));
    mListener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    check(bind(mListener, any, size) == 0 && listen(mListener, 64) == 0 && getsockname(mListener, any, &size) == 0,
          "the server of libuv cannot listen");
    mPort = ntohs(address.sin_port);
}

UvServer::~UvServer() {
    uv_walk(
        &mLoop->loop, [](uv_handle_t* handle, void*) { uv_close(handle, nullptr); }, nullptr);
    uv_run(&mLoop->loop, UV_RUN_DEFAULT);
    uv_loop_close(&mLoop->loop);
    close(mListener);
}

void UvServer::accept() {
    Connection& connection = *mConnections.emplace_back(std::make_unique<Connection>(this));
    const int accepted = ::accept4(mListener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    check(accepted >= 0, "the server of libuv cannot accept");
    checkUv(uv_tcp_init(&mLoop->loop, &connection.handle));
    checkUv(uv_tcp_open(&connection.handle, accepted));
    checkUv(uv_tcp_nodelay(&connection.handle, 1));
    connection.handle.data = &connection;
    checkUv(uv_read_start(
        reinterpret_cast<uv_stream_t*>(&connection.handle),
        [](uv_handle_t* handle, size_t, uv_buf_t* buffer) {
            auto& self = *static_cast<Connection*>(handle->data);
            *buffer = uv_buf_init(self.room, sizeof(self.room));
        },
        [](uv_stream_t* stream, ssize_t count, const uv_buf_t* buffer) {
            auto& self = *static_cast<Connection*>(stream->data);
            if (count < 0)
                self.server->end();
            else
                self.receive(buffer->base, static_cast<std::size_t>(count));
        }));
}

void UvServer::serve() {
    uv_run(&mLoop->loop, UV_RUN_DEFAULT);
}

void UvServer::step() {
    checkUv(uv_timer_start(
        &mLoop->timer, [](uv_timer_t*) {}, cWaitMilliseconds, 0));
    uv_run(&mLoop->loop, UV_RUN_ONCE);
}

void UvServer::end() {
    uv_stop(&mLoop->loop);
}

} // namespace Tarq::Bench
