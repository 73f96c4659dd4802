#pragma once

#include "common/platform/posix/socketerror.h"
#include "common/platform/posix/uninterrupted.h"
#include "common/platform/socket.h"

#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>

/// What the sources for sockets share.
namespace Tarq::Common::Platform {

inline int descriptorOf(SocketHandle socket) noexcept {
    return static_cast<int>(socket);
}

/// An address as the system has it.
class SystemAddress {
public:
    /// To be filled in by the system.
    SystemAddress() noexcept = default;
    /// The family is one that the system has, too: an address without one has a meaning of its own for the system, as
    /// every address of the machine for a listener, as the end of the connection for a connect.
    explicit SystemAddress(const SocketAddress& address) noexcept {
        const uint8* const rest = address.rest.data();
        if (address.family == cFamilyInet4) {
            sockaddr_in inet4{};
            inet4.sin_family = AF_INET;
            std::memcpy(&inet4.sin_port, address.port.data(), sizeof(inet4.sin_port));
            std::memcpy(&inet4.sin_addr, rest, sizeof(inet4.sin_addr));
            store(inet4);
        } else if (address.family == cFamilyInet6) {
            sockaddr_in6 inet6{};
            inet6.sin6_family = AF_INET6;
            std::memcpy(&inet6.sin6_port, address.port.data(), sizeof(inet6.sin6_port));
            std::memcpy(&inet6.sin6_flowinfo, rest, 4);
            std::memcpy(&inet6.sin6_addr, rest + 4, sizeof(inet6.sin6_addr));
            std::memcpy(&inet6.sin6_scope_id, rest + 20, 4);
            store(inet6);
        }
    }

    const sockaddr* get() const noexcept { return reinterpret_cast<const sockaddr*>(&mStorage); }
    sockaddr* get() noexcept { return reinterpret_cast<sockaddr*>(&mStorage); }
    /// The bytes of the address; room for any before the system has filled it in.
    socklen_t size() const noexcept { return mSize; }
    socklen_t* sizePointer() noexcept { return &mSize; }

    /// The number of a family that has none in the contract is passed on as it is.
    SocketAddress translate() const noexcept {
        SocketAddress address;
        address.family = mStorage.ss_family;
        if (mStorage.ss_family == AF_INET) {
            const auto inet4 = load<sockaddr_in>();
            address.family = cFamilyInet4;
            std::memcpy(address.port.data(), &inet4.sin_port, address.port.size());
            std::memcpy(address.rest.data(), &inet4.sin_addr, sizeof(inet4.sin_addr));
        } else if (mStorage.ss_family == AF_INET6) {
            const auto inet6 = load<sockaddr_in6>();
            address.family = cFamilyInet6;
            std::memcpy(address.port.data(), &inet6.sin6_port, address.port.size());
            std::memcpy(address.rest.data(), &inet6.sin6_flowinfo, 4);
            std::memcpy(address.rest.data() + 4, &inet6.sin6_addr, sizeof(inet6.sin6_addr));
            std::memcpy(address.rest.data() + 20, &inet6.sin6_scope_id, 4);
        }
        return address;
    }

private:
    template <class Address>
    void store(const Address& address) noexcept {
        std::memcpy(&mStorage, &address, sizeof(address));
        mSize = sizeof(address);
    }
    template <class Address>
    Address load() const noexcept {
        Address address;
        std::memcpy(&address, &mStorage, sizeof(address));
        return address;
    }

    sockaddr_storage mStorage{};
    socklen_t mSize = sizeof(mStorage);
};

/// Keeps a descriptor for the time when there is no other, as long as there are listeners.
///
/// A listener that cannot take a connection stays ready, and whoever waits for it would never sleep again.
class ListenerReserve {
public:
    static void addListener() noexcept;
    static void removeListener() noexcept;
    /// Takes a connection that waits at the listener, with the descriptor that was kept, and closes it. Returns why no
    /// connection was accepted: the lack of descriptors, unless none waits.
    static SocketError refuseConnection(int listener) noexcept;
};

} // namespace Tarq::Common::Platform
