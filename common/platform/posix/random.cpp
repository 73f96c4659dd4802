#include "common/platform/random.h"

#include <cerrno>
#include <cstdlib>

#include <sys/random.h>

namespace Tarq::Common::Platform {

uint32 getSecureRandom() noexcept {
    uint32 number = 0;
    for (;;) {
        // Requests of up to 256 bytes are served whole, or interrupted before the source is ready.
        const ssize_t got = getrandom(&number, sizeof(number), 0);
        if (got == static_cast<ssize_t>(sizeof(number)))
            return number;
        if (got < 0 && errno != EINTR)
            std::abort(); // A secure number that is not one would be worse than none.
    }
}

} // namespace Tarq::Common::Platform
