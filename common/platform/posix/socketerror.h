#pragma once

#include "common/platform/socketerror.h"

#include <cerrno>

namespace Tarq::Common::Platform {

/// The meaning of an error number, not 0, that a call for a socket leaves.
inline SocketError socketErrorOf(int number) noexcept {
    struct Meaning {
        int number;
        SocketError error;
    };
    using Error = SocketError;
    static constexpr Meaning cMeanings[] = {
        // The system may have two names for one number; the first that fits counts.
        {EAGAIN, Error::SOCKET_ERROR_WOULD_BLOCK},
        {EWOULDBLOCK, Error::SOCKET_ERROR_WOULD_BLOCK},
        {EINTR, Error::SOCKET_ERROR_INTERRUPTED},
        {EACCES, Error::SOCKET_ERROR_ACCESS},
        {EPERM, Error::SOCKET_ERROR_ACCESS},
        {EFAULT, Error::SOCKET_ERROR_FAULT},
        {EINVAL, Error::SOCKET_ERROR_INVALID},
        {EMFILE, Error::SOCKET_ERROR_TOO_MANY_OPEN},
        {ENFILE, Error::SOCKET_ERROR_TOO_MANY_OPEN},
        {EINPROGRESS, Error::SOCKET_ERROR_IN_PROGRESS},
        {EALREADY, Error::SOCKET_ERROR_ALREADY},
        {EBADF, Error::SOCKET_ERROR_NOT_A_SOCKET},
        {ENOTSOCK, Error::SOCKET_ERROR_NOT_A_SOCKET},
        {EDESTADDRREQ, Error::SOCKET_ERROR_NO_DESTINATION},
        {EMSGSIZE, Error::SOCKET_ERROR_MESSAGE_SIZE},
        {EPROTOTYPE, Error::SOCKET_ERROR_PROTOCOL_TYPE},
        {ENOPROTOOPT, Error::SOCKET_ERROR_NO_OPTION},
        {EPROTONOSUPPORT, Error::SOCKET_ERROR_PROTOCOL_NOT_SUPPORTED},
        {ESOCKTNOSUPPORT, Error::SOCKET_ERROR_TYPE_NOT_SUPPORTED},
        {EOPNOTSUPP, Error::SOCKET_ERROR_OPERATION_NOT_SUPPORTED},
        {EAFNOSUPPORT, Error::SOCKET_ERROR_FAMILY_NOT_SUPPORTED},
        {EADDRINUSE, Error::SOCKET_ERROR_ADDRESS_IN_USE},
        {EADDRNOTAVAIL, Error::SOCKET_ERROR_ADDRESS_NOT_AVAILABLE},
        {ENETDOWN, Error::SOCKET_ERROR_NETWORK_DOWN},
        {ENETUNREACH, Error::SOCKET_ERROR_NETWORK_UNREACHABLE},
        {ENETRESET, Error::SOCKET_ERROR_NETWORK_RESET},
        {ECONNABORTED, Error::SOCKET_ERROR_CONNECTION_ABORTED},
        {ECONNRESET, Error::SOCKET_ERROR_CONNECTION_RESET},
        {ENOBUFS, Error::SOCKET_ERROR_NO_BUFFERS},
        {ENOMEM, Error::SOCKET_ERROR_NO_BUFFERS},
        {EISCONN, Error::SOCKET_ERROR_IS_CONNECTED},
        {ENOTCONN, Error::SOCKET_ERROR_NOT_CONNECTED},
        {EPIPE, Error::SOCKET_ERROR_SHUT_DOWN},
        {ETIMEDOUT, Error::SOCKET_ERROR_TIMED_OUT},
        {ECONNREFUSED, Error::SOCKET_ERROR_CONNECTION_REFUSED},
        {EHOSTDOWN, Error::SOCKET_ERROR_HOST_DOWN},
        {EHOSTUNREACH, Error::SOCKET_ERROR_HOST_UNREACHABLE},
    };
    for (const Meaning& meaning : cMeanings) {
        if (meaning.number == number)
            return meaning.error;
    }
    return SocketError::SOCKET_ERROR_OTHER;
}

/// `result` is what a call returned, negative when it failed.
inline SocketError lastSocketErrorOf(long result) noexcept {
    return result < 0 ? socketErrorOf(errno) : SocketError::SOCKET_ERROR_NONE;
}

} // namespace Tarq::Common::Platform
