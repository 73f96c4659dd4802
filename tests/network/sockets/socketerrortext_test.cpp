#include "common/network/sockets/socket.h"

#include "tests/support/librarytest.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "an error number has its text") {
    constexpr char cUnknown[] = "An unknown error occurred. Potentially the network stack is completely broken.";
    const std::pair<int32, const char*> cases[] = {
        {0, "No Error"},
        {10004, "The blocking Windows Socket 1.1 call was canceled through WSACancelBlockingCall."},
        {10013, "An attempt to connect a datagram socket to broadcast address failed because setsockopt option "
                "SO_BROADCAST is not enabled."},
        {10014, "The sockaddr structure pointed to by the name contains incorrect address format for the associated "
                "address family or the namelen parameter is too small. This error is also returned if the sockaddr "
                "structure pointed to by the name parameter with a length specified in the namelen parameter is not in "
                "a valid part of the user address space. "},
        {10022, "The parameter s is a listening socket."},
        {10036, "A blocking Windows Sockets 1.1 call is in progress, or the service provider is still processing a "
                "callback function."},
        {10037, "A nonblocking connect call is in progress on the specified socket. \n\nNote  In order to preserve "
                "backward compatibility, this error is reported as WSAEINVAL to Windows Sockets 1.1 applications that "
                "link to either Winsock.dll or Wsock32.dll."},
        {10038, "The descriptor specified in the s parameter is not a socket."},
        {10047, "Addresses in the specified family cannot be used with this socket."},
        {10048, "The socket's local address is already in use and the socket was not marked to allow address reuse "
                "with SO_REUSEADDR. This error usually occurs when executing bind, but could be delayed until this "
                "function if the bind was to a partially wildcard address (involving ADDR_ANY) and if a specific "
                "address needs to be committed at the time of this function."},
        {10049, "The remote address is not a valid address (such as ADDR_ANY)."},
        {10050, "The network subsystem has failed."},
        {10051, "The network cannot be reached from this host at this time."},
        {10055, "No buffer space is available. The socket cannot be connected."},
        {10056, "The socket is already connected (connection-oriented sockets only)."},
        {10060, "An attempt to connect timed out without establishing a connection."},
        {10061, "The attempt to connect was forcefully rejected."},
        {10093, "A successful WSAStartup call must occur before using this function."},
        {10053, cUnknown},
        {-1, cUnknown},
    };
    for (const auto& [code, text] : cases)
        CHECK(Network::Sockets::Socket::getErrorText(code) == text);
}
