#include "common/platform/random.h"

#include <atomic>

namespace Tarq::Common::Platform {

namespace {

std::atomic<uint32> gState{1};

/// A linear congruential step modulo 2^32 (multiplier and increment after Numerical Recipes, 2nd edition, 7.1); the
/// numbers handed out are its upper bits, because its lower ones have short periods.
constexpr uint32 stepOf(uint32 state) noexcept {
    return state * 1664525u + 1013904223u;
}

} // namespace

void seedRandom(uint32 seed) noexcept {
    gState.store(seed, std::memory_order_relaxed);
}

uint32 getRandom() noexcept {
    uint32 state = gState.load(std::memory_order_relaxed);
    while (!gState.compare_exchange_weak(state, stepOf(state), std::memory_order_relaxed)) {
    }
    return stepOf(state) >> 17;
}

} // namespace Tarq::Common::Platform
