#include "common/platform/assertreport.h"

#include <cstdio>
#include <cstdlib>

namespace Tarq::Common::Platform {

void reportAssertionAndEnd(const char* message, const char* file, unsigned int line) noexcept {
    std::fprintf(stderr, "%s:%u: Assertion failed: %s\n", file, line, message);
    std::fflush(stderr);
    std::abort();
}

} // namespace Tarq::Common::Platform
