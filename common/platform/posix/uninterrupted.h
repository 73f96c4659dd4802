#pragma once

#include <cerrno>

namespace Tarq::Common::Platform {

/// Repeats a system call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace Tarq::Common::Platform
