#include "tool/platform/system.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Tarq::Tool::System {

using Common::String;
using Common::Network::Sockets::HostAddress;
using Common::Platform::SocketError;

namespace {

constexpr int cStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t isSignalled = 0;

/// From now on the signals do again what they do by themselves, whichever it was.
void onStopSignal(int) {
    const int error = errno;
    isSignalled = 1;
    for (const int signal : cStopSignals) {
        struct sigaction current {};
        if (sigaction(signal, nullptr, &current) == 0 && current.sa_handler == &onStopSignal)
            std::signal(signal, SIG_DFL);
    }
    errno = error;
}

/// A setting that the system refuses costs comfort, not function.
void setOption(int descriptor, int level, int option, int value) noexcept {
    setsockopt(descriptor, level, option, &value, sizeof(value));
}

/// A machine that has lost its power, or the way to it, says nothing; and the tool may have nothing to send.
void keepAlive(int descriptor) noexcept {
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, 15);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, 4);
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
}

} // namespace

bool fillStandardStreams() noexcept {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF)
            continue;
        // Opened the wrong way round, so that what goes through it fails as before.
        const int filler = open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (filler != descriptor)
            return false;
    }
    return true;
}

void catchStopSignals() noexcept {
    for (const int signal : cStopSignals) {
        struct sigaction current {};
        if (sigaction(signal, nullptr, &current) != 0 || current.sa_handler == SIG_IGN)
            continue;
        current = {};
        current.sa_handler = &onStopSignal;
        current.sa_flags = SA_RESTART;
        sigaction(signal, &current, nullptr);
    }
}

bool isStopWanted() noexcept {
    return isSignalled != 0;
}

InputHandle getStandardInput() noexcept {
    return STDIN_FILENO;
}

bool isErrorTerminal() noexcept {
    return isatty(STDERR_FILENO) == 1;
}

bool isTerminal(InputHandle input) noexcept {
    return isatty(static_cast<int>(input)) == 1;
}

Common::uint32 readInput(InputHandle input, char* bytes, Common::uint32 count) noexcept {
    ssize_t taken = -1;
    do {
        taken = read(static_cast<int>(input), bytes, count);
    } while (taken < 0 && errno == EINTR);
    return taken > 0 ? static_cast<Common::uint32>(taken) : 0;
}

String getComputerName() {
    char name[256] = "";
    // What is too long is cut off, not always with an end.
    return gethostname(name, sizeof(name) - 1) == 0 ? String(name) : String();
}

String getUserName() {
    const uid_t user = geteuid();
    char buffer[4096];
    passwd record{};
    passwd* found = nullptr;
    if (getpwuid_r(user, &record, buffer, sizeof(buffer), &found) == 0 && found)
        return found->pw_name;
    return String().appendDecimal(user);
}

SocketError tryConnect(Common::Platform::SocketHandle socket, const HostAddress& address) noexcept {
    const int descriptor = static_cast<int>(socket);
    keepAlive(descriptor);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(address.getPort());
    address.getAddressIPV4().copyToOSAddress(&name.sin_addr);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&name), sizeof(name)) == 0)
        return SocketError::SOCKET_ERROR_NONE;
    switch (errno) {
    case EISCONN:
        return SocketError::SOCKET_ERROR_NONE;
    case EINPROGRESS:
    case EALREADY:
    case EINTR:
        return SocketError::SOCKET_ERROR_WOULD_BLOCK;
    case ECONNREFUSED:
        return SocketError::SOCKET_ERROR_CONNECTION_REFUSED;
    case ECONNRESET:
    case ECONNABORTED:
        return SocketError::SOCKET_ERROR_CONNECTION_RESET;
    case ETIMEDOUT:
        return SocketError::SOCKET_ERROR_TIMED_OUT;
    case ENETUNREACH:
        return SocketError::SOCKET_ERROR_NETWORK_UNREACHABLE;
    case EHOSTUNREACH:
        return SocketError::SOCKET_ERROR_HOST_UNREACHABLE;
    case EADDRNOTAVAIL:
        return SocketError::SOCKET_ERROR_ADDRESS_NOT_AVAILABLE;
    case EACCES:
    case EPERM:
        return SocketError::SOCKET_ERROR_ACCESS;
    default:
        return SocketError::SOCKET_ERROR_OTHER;
    }
}

} // namespace Tarq::Tool::System
