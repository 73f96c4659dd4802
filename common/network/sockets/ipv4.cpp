#include "common/network/sockets/ipv4.h"

#include <cstring>

namespace Tarq::Common::Network::Sockets {

// The system's form is these four bytes, on every system; what it calls its field is its own affair.

IPV4::IPV4(const ::in_addr* address) noexcept : mBytes{} {
    const void* const bytes = address;
    std::memcpy(mBytes.data(), bytes, mBytes.size());
}

void IPV4::copyToOSAddress(::in_addr* address) const noexcept {
    void* const bytes = address;
    std::memcpy(bytes, mBytes.data(), mBytes.size());
}

String IPV4::toString() const {
    String text;
    for (const uint8 byte : mBytes) {
        if (!text.empty())
            text += '.';
        text.appendDecimal(byte);
    }
    return text;
}

} // namespace Tarq::Common::Network::Sockets
