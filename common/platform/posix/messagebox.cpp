#include "common/platform/messagebox.h"

#include <cstdio>

namespace Tarq::Common::Platform {

bool writeMessage(const char* caption, const char* text) noexcept {
    return std::fprintf(stderr, "%s\n%s\n", caption, text) >= 0;
}

} // namespace Tarq::Common::Platform
