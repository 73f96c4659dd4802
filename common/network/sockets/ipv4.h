#pragma once

#include "common/export.h"
#include "common/string.h"

#include <array>

/// The system's own form of an address, for those who have one at hand.
struct in_addr;

namespace Tarq::Common::Network::Sockets {

/// An IPv4 address: four bytes in network byte order, "127.0.0.1" for example.
class TARQ_API IPV4 {
public:
    /// 0.0.0.0: every address of this machine.
    static const IPV4 ANY;
    /// 127.0.0.1: this machine, seen from itself.
    static const IPV4 LOOPBACK;

    constexpr IPV4(uint8 first, uint8 second, uint8 third, uint8 fourth) noexcept
        : mBytes{first, second, third, fourth} {}
    constexpr explicit IPV4(const std::array<uint8, 4>& bytes) noexcept : mBytes(bytes) {}
    explicit IPV4(const ::in_addr* address) noexcept;

    void copyToOSAddress(::in_addr* address) const noexcept;
    constexpr const std::array<uint8, 4>& getBytes() const noexcept { return mBytes; }
    /// Whether only this machine can reach it.
    constexpr bool isLoopback() const noexcept { return mBytes[0] == 127; }
    String toString() const;

    friend constexpr bool operator==(const IPV4&, const IPV4&) = default;

private:
    std::array<uint8, 4> mBytes;
};

inline constexpr IPV4 IPV4::ANY(0, 0, 0, 0);
inline constexpr IPV4 IPV4::LOOPBACK(127, 0, 0, 1);

} // namespace Tarq::Common::Network::Sockets
