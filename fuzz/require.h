#pragma once

#include <cstdlib>

namespace Tarq::Fuzz {

/// What has to hold whatever the input is.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}

} // namespace Tarq::Fuzz
