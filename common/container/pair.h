#pragma once

#include <compare>

namespace Tarq::Common::Container {

/// Two values side by side. Compared by the first, then by the second.
template <class A, class B>
struct Pair {
    A first{};
    B second{};

    friend bool operator==(const Pair&, const Pair&) = default;
    friend auto operator<=>(const Pair&, const Pair&) = default;
};

template <class A, class B>
Pair(A, B) -> Pair<A, B>;

} // namespace Tarq::Common::Container
