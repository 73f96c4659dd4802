#include "common/network/sockets/ipv6.h"

#include <algorithm>
#include <bit>

namespace Tarq::Common::Network::Sockets {

namespace {

void appendHexadecimal(String& text, uint16 word) {
    int shift = 12;
    while (shift != 0 && word >> shift == 0)
        shift -= 4;
    for (; shift >= 0; shift -= 4)
        text += "0123456789ABCDEF"[word >> shift & 15];
}

} // namespace

bool IPV6::isLoopback() const noexcept {
    const auto bytes = std::bit_cast<std::array<uint8, sizeof(mWords)>>(mWords);
    const auto isZero = [](uint8 byte) { return byte == 0; };
    if (!std::all_of(bytes.begin(), bytes.begin() + 10, isZero))
        return false;
    const bool isMapped = bytes[10] == 0xFF && bytes[11] == 0xFF;
    return isMapped ? bytes[12] == 127 : std::all_of(bytes.begin() + 10, bytes.end() - 1, isZero) && bytes[15] == 1;
}

String IPV6::toString() const {
    String text;
    for (const uint16 word : mWords) {
        if (!text.empty())
            text += '.';
        appendHexadecimal(text, word);
    }
    return text;
}

} // namespace Tarq::Common::Network::Sockets
