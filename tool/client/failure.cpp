#include "tool/client/failure.h"

#include "common/network/sockets/socketerrortext.h"
#include "common/platform/socketerror.h"

namespace Tarq::Tool {

using namespace Common;
using Platform::SocketError;

namespace {

/// What the library's texts do not tell, or only to those who write programs.
const char* textOf(int32 socketError) noexcept {
    switch (static_cast<SocketError>(socketError)) {
    case SocketError::SOCKET_ERROR_CONNECTION_REFUSED:
        return "nobody listens there";
    case SocketError::SOCKET_ERROR_TIMED_OUT:
        return "there is no answer";
    case SocketError::SOCKET_ERROR_CONNECTION_RESET:
    case SocketError::SOCKET_ERROR_CONNECTION_ABORTED:
    case SocketError::SOCKET_ERROR_SHUT_DOWN:
        return "the host has broken off the connection";
    case SocketError::SOCKET_ERROR_HOST_DOWN:
    case SocketError::SOCKET_ERROR_HOST_UNREACHABLE:
    case SocketError::SOCKET_ERROR_NETWORK_UNREACHABLE:
        return "there is no way to that machine";
    case SocketError::SOCKET_ERROR_ACCESS:
        return "this machine does not allow it";
    case SocketError::SOCKET_ERROR_TOO_MANY_OPEN:
        return "too many files are open";
    default:
        return Network::Sockets::getSocketErrorText(socketError);
    }
}

} // namespace

Failure makeSocketFailure(FailureKind kind, int32 socketError) {
    return {kind, textOf(socketError), socketError};
}

} // namespace Tarq::Tool
