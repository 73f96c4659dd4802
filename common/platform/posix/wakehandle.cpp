#include "common/platform/wakehandle.h"

#include "common/platform/posix/socketcall.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

static_assert(cNoSocket == -1, "what the system returns when it refuses");

WakeHandle::WakeHandle() noexcept : mHandle(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

WakeHandle::~WakeHandle() {
    if (mHandle != cNoSocket)
        close(descriptorOf(mHandle));
}

bool WakeHandle::signal() noexcept {
    const eventfd_t one = 1;
    const ssize_t written = uninterrupted([&] { return write(descriptorOf(mHandle), &one, sizeof(one)); });
    // A counter that is full is ready as well.
    return written == sizeof(one) || (written < 0 && errno == EAGAIN);
}

bool WakeHandle::clear() noexcept {
    eventfd_t count = 0;
    return uninterrupted([&] { return read(descriptorOf(mHandle), &count, sizeof(count)); }) == sizeof(count);
}

} // namespace Tarq::Common::Platform
