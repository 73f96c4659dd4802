#pragma once

#include "common/export.h"

namespace Tarq::Common::Math {

/// Random numbers for games and simulations: the platform's plain 15-bit generator, one sequence for the process.
///
/// Not for secrets, but for `getRandSecureUIntMax`. Threads: any.
class TARQ_API Rand {
public:
    /// The same seed gives the same sequence, on every machine.
    static void setSeed(unsigned int seed);
    /// A number from `min` to `max`, both included; `min` when `max` is below it. Spans above 32768 numbers are thinly
    /// filled: one draw has 15 bits.
    static int getRandInt32(int min, int max);
    /// In [0, 1).
    static float getRandFloat();
    static float getRandFloat(float min, float max);
    static bool getRandBool();
    /// The difference of two draws of `getRandFloat`, in (-1, 1).
    static float getRandClamped();
    /// From the system's secure source, in the full range of 32 bits. Throws `NotSupportedException` when the system
    /// has none to give.
    static unsigned int getRandSecureUIntMax();
};

} // namespace Tarq::Common::Math
