#pragma once

#include <functional>

namespace Tarq::Test {

/// Runs its body at the end of the scope.
struct AtEnd {
    std::function<void()> body;
    ~AtEnd() { body(); }
};

} // namespace Tarq::Test
