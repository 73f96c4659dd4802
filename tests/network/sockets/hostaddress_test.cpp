#include "common/network/sockets/hostaddress.h"

#include "tests/support/hex.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <netinet/in.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Network::Sockets;

namespace {

constexpr char cFile[] = "common/network/sockets/hostaddress";

Platform::SocketAddress rawAddress(uint16 family, const std::string& rest) {
    Platform::SocketAddress address;
    address.family = family;
    address.port = {0x12, 0x67};
    std::copy(rest.begin(), rest.end(), address.rest.begin());
    return address;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an IPv4 address reads as four decimal numbers") {
    const std::pair<IPV4, const char*> cases[] = {
        {IPV4::ANY, "0.0.0.0"},
        {IPV4::LOOPBACK, "127.0.0.1"},
        {IPV4(255, 254, 100, 9), "255.254.100.9"},
    };
    for (const auto& [address, text] : cases) {
        CHECK(address.toString() == text);
        CHECK(HostAddress(address, 4711).toString() == text);
    }
    CHECK(IPV4(127, 255, 0, 1).isLoopback());
    CHECK_FALSE(IPV4::ANY.isLoopback());
}

TEST_CASE_FIXTURE(LibraryTest, "an IPv4 address comes from the system's form and goes back into it") {
    in_addr system{};
    system.s_addr = htonl(INADDR_LOOPBACK);
    const IPV4 address(&system);
    CHECK(address == IPV4::LOOPBACK);
    in_addr copy{};
    address.copyToOSAddress(&copy);
    CHECK(copy.s_addr == system.s_addr);
}

TEST_CASE_FIXTURE(LibraryTest, "a host address holds family, port and address as they go over the network") {
    const HostAddress address(IPV4::LOOPBACK, 4711);
    const Platform::SocketAddress& raw = address.getSocketAddress();
    CHECK(address.getAddressFamily() == ADDRFAMILY_INET4);
    CHECK(raw.family == 2);
    CHECK(hexOf(reinterpret_cast<const char*>(&raw) + sizeof(raw.family), 14) ==
          "12 67 7f 00 00 01 00 00 00 00 00 00 00 00");
    CHECK(address.getPort() == 4711);
    CHECK(address.getAddressIPV4() == IPV4::LOOPBACK);
    CHECK(HostAddress().getPort() == 0);
    CHECK(HostAddress().toString() == "0.0.0.0");
}

TEST_CASE_FIXTURE(LibraryTest, "a host address takes over a socket address of either family") {
    const HostAddress inet4(rawAddress(2, std::string("\xC0\xA8\x00\x07", 4)));
    CHECK(inet4.toString() == "192.168.0.7");
    CHECK(inet4.getPort() == 4711);
    // Behind four bytes of flow information, sixteen of address: words as the machine has them.
    const std::array<uint16, 8> words{0xFE80, 0, 0x10, 0xABC, 0xD, 1, 0xFFFF, 0xA0B};
    std::string rest(20, '\xEE');
    std::memcpy(rest.data() + 4, words.data(), 16);
    const HostAddress inet6(rawAddress(23, rest));
    CHECK(inet6.getAddressFamily() == ADDRFAMILY_INET6);
    CHECK(inet6.getAddressIPV6() == IPV6(words));
    CHECK(inet6.toString() == "FE80.0.10.ABC.D.1.FFFF.A0B");
    CHECK(HostAddress(inet6).getSocketAddress().rest == inet6.getSocketAddress().rest);
}

TEST_CASE_FIXTURE(LibraryTest, "an address of another family has no text, and is reported") {
    const ExpectedAssertion expected("\nError Message: Unknown address family: 1", cFile);
    CHECK(HostAddress(rawAddress(1, "/path")).toString() == "");
}

TEST_CASE_FIXTURE(LibraryTest, "asking for an address of the wrong family is reported") {
    const HostAddress inet4(IPV4::LOOPBACK, 1);
    const HostAddress inet6(rawAddress(23, ""));
    const ExpectedAssertion wants4("getAddressFamily() == ADDRFAMILY_INET4\nError Message: getAddressIPV4 works only "
                                   "on IPV4 HostAddresses !",
                                   cFile);
    const ExpectedAssertion wants6("getAddressFamily() == ADDRFAMILY_INET6\nError Message: getAddressIPV6 works only "
                                   "on IPV6 HostAddresses !",
                                   cFile);
    CHECK(inet6.getAddressIPV4() == IPV4::ANY);
    CHECK(inet4.getAddressIPV6() == IPV6());
}
