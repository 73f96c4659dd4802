#pragma once

namespace Tarq::Common::Debugger {

/// Marks the calling thread as one of the server's own while it lives: what waits for these is refused there.
class ServerThreadMark {
public:
    ServerThreadMark() noexcept { tIsServerThread = true; }
    ~ServerThreadMark() { tIsServerThread = false; }
    ServerThreadMark(const ServerThreadMark&) = delete;
    ServerThreadMark& operator=(const ServerThreadMark&) = delete;

    static bool isSet() noexcept { return tIsServerThread; }

private:
    /// In the static block that every process sets aside for libraries loaded late: read without a call.
    [[gnu::tls_model("initial-exec")]] static inline thread_local constinit bool tIsServerThread = false;
};

} // namespace Tarq::Common::Debugger
