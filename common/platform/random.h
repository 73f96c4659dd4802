#pragma once

#include "common/types.h"

namespace Tarq::Common::Platform {

/// The plain generator has 15 bits: 0 to `cRandomMax`, on every machine, the same sequence for the same seed.
inline constexpr uint32 cRandomMax = 32767;

/// Starts the plain generator's sequence anew; before the first call it is as after a seed of 1. Threads: any.
void seedRandom(uint32 seed) noexcept;
/// The next number of the plain generator, 0 to `cRandomMax`. Threads: any; they share one sequence.
uint32 getRandom() noexcept;

/// Draws one number from the system's secure source, in the full range. Returns false when there is no such source; the
/// number is not to be used then. Threads: any.
bool getSecureRandom(uint32& number) noexcept;

} // namespace Tarq::Common::Platform
