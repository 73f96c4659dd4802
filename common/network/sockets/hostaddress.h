#pragma once

#include "common/network/sockets/addressfamily.h"
#include "common/network/sockets/ipv4.h"
#include "common/network/sockets/ipv6.h"
#include "common/platform/socket.h"

namespace Tarq::Common::Network::Sockets {

/// An address and a port, and how the address reads.
///
///     Network::Sockets::HostAddress(Network::Sockets::IPV4::LOOPBACK, 4711)
class TARQ_API HostAddress {
public:
    /// Every address of this machine, and a port that the system chooses.
    HostAddress();
    /// Port 0 stands for one that the system chooses.
    HostAddress(const IPV4& address, unsigned short port);
    /// Asserts "Unknown address family: " and the number of the family; the text is empty then.
    explicit HostAddress(const Platform::SocketAddress& address);

    AddressFamily getAddressFamily() const noexcept { return static_cast<AddressFamily>(mAddress.family); }
    /// Asserts "getAddressIPV4 works only on IPV4 HostAddresses !"; `IPV4::ANY` then.
    IPV4 getAddressIPV4() const;
    /// Asserts "getAddressIPV6 works only on IPV6 HostAddresses !"; zeros then.
    IPV6 getAddressIPV6() const;
    unsigned short getPort() const noexcept;
    /// The address without the port, "127.0.0.1" for example.
    const String& toString() const noexcept { return mText; }

    const Platform::SocketAddress& getSocketAddress() const noexcept { return mAddress; }

private:
    String makeText() const;

    Platform::SocketAddress mAddress;
    String mText;
};

} // namespace Tarq::Common::Network::Sockets
