#pragma once

#include "common/platform/socket.h"

namespace Tarq::Common::Network::Sockets {

/// What an address is an address of. The numbers are the same on every system.
enum AddressFamily : uint16 {
    ADDRFAMILY_INET4 = Platform::cFamilyInet4,
    ADDRFAMILY_INET6 = Platform::cFamilyInet6,
};

} // namespace Tarq::Common::Network::Sockets
