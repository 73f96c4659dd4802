#pragma once

#include "common/types.h"

#include "tests/support/doctest.h"

#include <algorithm>
#include <functional>
#include <random>
#include <tuple>
#include <utility>

namespace Tarq::Test {

using Common::uint32;

/// Numbers for random operations; the same at every run.
class Dice {
public:
    /// 0 to `count` - 1; 0 for 0.
    uint32 roll(std::size_t count) { return count == 0 ? 0 : static_cast<uint32>(mGenerator() % count); }

private:
    std::mt19937 mGenerator{1};
};

/// What a random operation works with: places in the container, and something new.
template <class Fresh>
struct Roll {
    uint32 at;   ///< 0 to the size
    uint32 own;  ///< an element
    uint32 from; ///< a range of up to 20 elements, may be empty
    uint32 to;
    uint32 count; ///< 0 to 5
    Fresh fresh;
};

/// Does one random operation after the other, both to our container and to the standard one that is its model; those
/// `onElements` only while there is an element.
///
/// An operation is a generic function of the container, the source of elements that it copies within the container, and
/// the roll. The source is ours itself; for the model, which need not bear that, it is a copy. What an operation
/// returns has to be the same on both sides.
template <class Ours, class Model, class MakeFresh, class Operations, class OnElements, class IsSame = std::equal_to<>>
void checkAgainstModel(Ours ours, Model model, MakeFresh makeFresh, const Operations& operations,
                       const OnElements& onElements, IsSame isSame = {}) {
    Dice dice;
    for (int step = 0; step < 5000; ++step) {
        const Model before(model);
        const std::size_t size = model.size();
        const uint32 from = dice.roll(size + 1);
        const uint32 to = from + dice.roll(std::min<std::size_t>(size - from, 20) + 1);
        const Roll<decltype(makeFresh(dice))> roll{dice.roll(size + 1), dice.roll(size), from, to,
                                                   dice.roll(6),        makeFresh(dice)};
        const auto perform = [&](const auto& operation) {
            if constexpr (std::is_void_v<decltype(operation(model, before, roll))>) {
                operation(ours, std::as_const(ours), roll);
                operation(model, before, roll);
            } else {
                REQUIRE(operation(ours, std::as_const(ours), roll) == operation(model, before, roll));
            }
            return true;
        };
        uint32 left = dice.roll(std::tuple_size_v<Operations> + (size == 0 ? 0 : std::tuple_size_v<OnElements>));
        std::apply([&](const auto&... each) { return ((left-- == 0 && perform(each)) || ...); },
                   std::tuple_cat(operations, onElements));
        REQUIRE(ours.size() == model.size());
        REQUIRE(std::equal(ours.begin(), ours.end(), model.begin(), model.end(), isSame));
        if constexpr (requires { ours.c_str(); })
            REQUIRE(ours.c_str()[ours.size()] == 0);
        if constexpr (requires { ours.rbegin(); })
            REQUIRE(std::equal(ours.rbegin(), ours.rend(), model.rbegin(), model.rend(), isSame));
    }
}

} // namespace Tarq::Test
