#include "common/platform/random.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

/// Calls `read` until `number` is full; it returns what the system call it makes does.
template <class Read>
bool fill(uint32& number, Read read) noexcept {
    auto* const bytes = reinterpret_cast<std::byte*>(&number);
    for (std::size_t got = 0; got < sizeof(number);) {
        const ssize_t count = read(bytes + got, sizeof(number) - got);
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        if (count > 0)
            got += static_cast<std::size_t>(count);
    }
    return true;
}

/// For kernels, and sandboxes, that do not have the call.
bool fillFromDevice(uint32& number) noexcept {
    const int device = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (device < 0)
        return false;
    const bool isFull =
        fill(number, [device](std::byte* bytes, std::size_t count) { return ::read(device, bytes, count); });
    close(device);
    return isFull;
}

} // namespace

bool getSecureRandom(uint32& number) noexcept {
    const int savedError = errno;
    const bool isFull = fill(number, [](std::byte* bytes, std::size_t count) { return getrandom(bytes, count, 0); }) ||
                        fillFromDevice(number);
    errno = savedError;
    return isFull;
}

} // namespace Tarq::Common::Platform
