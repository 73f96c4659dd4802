#include "common/network/sockets/socketerrortext.h"

#include "common/platform/socketerror.h"

namespace Tarq::Common::Network::Sockets {

namespace {

using Platform::SocketError;

struct ErrorText {
    SocketError code;
    const char* text;
};

// Tools see these texts; do not correct them.
constexpr ErrorText cErrorTexts[] = {
    {SocketError::SOCKET_ERROR_NONE, "No Error"},
    {SocketError::SOCKET_ERROR_INTERRUPTED,
     "The blocking Windows Socket 1.1 call was canceled through WSACancelBlockingCall."},
    {SocketError::SOCKET_ERROR_ACCESS, "An attempt to connect a datagram socket to broadcast address failed because "
                                       "setsockopt option SO_BROADCAST is not enabled."},
    {SocketError::SOCKET_ERROR_FAULT,
     "The sockaddr structure pointed to by the name contains incorrect address format for the associated address "
     "family or the namelen parameter is too small. This error is also returned if the sockaddr structure pointed to "
     "by the name parameter with a length specified in the namelen parameter is not in a valid part of the user "
     "address space. "},
    {SocketError::SOCKET_ERROR_INVALID, "The parameter s is a listening socket."},
    {SocketError::SOCKET_ERROR_IN_PROGRESS, "A blocking Windows Sockets 1.1 call is in progress, or the service "
                                            "provider is still processing a callback function."},
    {SocketError::SOCKET_ERROR_ALREADY,
     "A nonblocking connect call is in progress on the specified socket. \n\nNote  In order to preserve backward "
     "compatibility, this error is reported as WSAEINVAL to Windows Sockets 1.1 applications that link to either "
     "Winsock.dll or Wsock32.dll."},
    {SocketError::SOCKET_ERROR_NOT_A_SOCKET, "The descriptor specified in the s parameter is not a socket."},
    {SocketError::SOCKET_ERROR_FAMILY_NOT_SUPPORTED,
     "Addresses in the specified family cannot be used with this socket."},
    {SocketError::SOCKET_ERROR_ADDRESS_IN_USE,
     "The socket's local address is already in use and the socket was not marked to allow address reuse with "
     "SO_REUSEADDR. This error usually occurs when executing bind, but could be delayed until this function if the "
     "bind was to a partially wildcard address (involving ADDR_ANY) and if a specific address needs to be committed at "
     "the time of this function."},
    {SocketError::SOCKET_ERROR_ADDRESS_NOT_AVAILABLE, "The remote address is not a valid address (such as ADDR_ANY)."},
    {SocketError::SOCKET_ERROR_NETWORK_DOWN, "The network subsystem has failed."},
    {SocketError::SOCKET_ERROR_NETWORK_UNREACHABLE, "The network cannot be reached from this host at this time."},
    {SocketError::SOCKET_ERROR_NO_BUFFERS, "No buffer space is available. The socket cannot be connected."},
    {SocketError::SOCKET_ERROR_IS_CONNECTED, "The socket is already connected (connection-oriented sockets only)."},
    {SocketError::SOCKET_ERROR_TIMED_OUT, "An attempt to connect timed out without establishing a connection."},
    {SocketError::SOCKET_ERROR_CONNECTION_REFUSED, "The attempt to connect was forcefully rejected."},
    {SocketError::SOCKET_ERROR_NOT_STARTED, "A successful WSAStartup call must occur before using this function."},
};

} // namespace

const char* getSocketErrorText(int32 code) noexcept {
    for (const ErrorText& entry : cErrorTexts) {
        if (static_cast<int32>(entry.code) == code)
            return entry.text;
    }
    return "An unknown error occurred. Potentially the network stack is completely broken.";
}

} // namespace Tarq::Common::Network::Sockets
