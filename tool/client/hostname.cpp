#include "tool/client/hostname.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Tarq::Tool {

using namespace Common;
using Network::Sockets::HostAddress;
using Network::Sockets::IPV4;

namespace {

/// Reads decimal digits, and nothing else; no zero in front, which some take for the mark of another base.
template <class Number>
bool readNumber(std::string_view text, Number& number) {
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end && (text.front() != '0' || text.size() == 1);
}

bool readAddress(std::string_view text, std::array<uint8, 4>& bytes) {
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const std::size_t length = at + 1 < bytes.size() ? text.find('.') : text.size();
        if (length == text.npos || !readNumber(text.substr(0, length), bytes[at]))
            return false;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return true;
}

} // namespace

const char* parseHost(std::string_view text, HostAddress& address) {
    const std::size_t colon = text.rfind(':');
    const std::string_view host = colon == text.npos ? "localhost" : text.substr(0, colon);
    const std::string_view port = colon == text.npos ? text : text.substr(colon + 1);
    std::array<uint8, 4> bytes = IPV4::LOOPBACK.getBytes();
    if (host != "localhost" && !readAddress(host, bytes))
        return "the host has to be an IPv4 address or \"localhost\", and stands in front of the port: HOST:PORT";
    if (IPV4(bytes) == IPV4::ANY)
        return "0.0.0.0 is no address of a host: for this machine, give the port alone";
    if (colon == text.npos && text.find_first_not_of("0123456789") != text.npos)
        return "the port is missing: HOST:PORT or PORT";
    unsigned short number = 0;
    if (!readNumber(port, number) || number == 0)
        return "the port has to be a number from 1 to 65535: HOST:PORT or PORT";
    address = HostAddress(IPV4(bytes), number);
    return nullptr;
}

String nameOfHost(const HostAddress& address) {
    return (address.toString() + ":").appendDecimal(address.getPort());
}

} // namespace Tarq::Tool
