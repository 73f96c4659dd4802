#include "common/network/sockets/hostaddress.h"

#include "common/debug/assert.h"

#include <algorithm>
#include <cstring>

namespace Tarq::Common::Network::Sockets {

namespace {

Platform::SocketAddress socketAddressOf(const IPV4& address, unsigned short port) noexcept {
    Platform::SocketAddress socketAddress;
    socketAddress.port = {static_cast<uint8>(port >> 8), static_cast<uint8>(port & 0xFF)};
    std::copy(address.getBytes().begin(), address.getBytes().end(), socketAddress.rest.begin());
    return socketAddress;
}

} // namespace

HostAddress::HostAddress() : HostAddress(IPV4::ANY, 0) {}

HostAddress::HostAddress(const IPV4& address, unsigned short port)
    : mAddress(socketAddressOf(address, port)), mText(address.toString()) {}

HostAddress::HostAddress(const Platform::SocketAddress& address) : mAddress(address), mText(makeText()) {}

String HostAddress::makeText() const {
    switch (mAddress.family) {
    case ADDRFAMILY_INET4:
        return getAddressIPV4().toString();
    case ADDRFAMILY_INET6:
        return getAddressIPV6().toString();
    default:
        TARQ_FAIL("Unknown address family: ", mAddress.family);
        return String();
    }
}

IPV4 HostAddress::getAddressIPV4() const {
    if (!TARQ_ASSERT(getAddressFamily() == ADDRFAMILY_INET4, "getAddressIPV4 works only on IPV4 HostAddresses !"))
        return IPV4::ANY;
    std::array<uint8, 4> bytes;
    std::copy_n(mAddress.rest.begin(), bytes.size(), bytes.begin());
    return IPV4(bytes);
}

IPV6 HostAddress::getAddressIPV6() const {
    if (!TARQ_ASSERT(getAddressFamily() == ADDRFAMILY_INET6, "getAddressIPV6 works only on IPV6 HostAddresses !"))
        return IPV6();
    // The flow information stands in front.
    std::array<uint16, IPV6::cWords> words;
    std::memcpy(words.data(), mAddress.rest.data() + 4, sizeof(words));
    return IPV6(words);
}

unsigned short HostAddress::getPort() const noexcept {
    return static_cast<unsigned short>(mAddress.port[0] << 8 | mAddress.port[1]);
}

} // namespace Tarq::Common::Network::Sockets
