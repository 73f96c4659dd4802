#include "common/callback/mathcallback.h"

#include "common/platform/random.h"

namespace Tarq::Common::Callback {

MathCallback::~MathCallback() = default;

void MathCallback::initalizeRandomGenerator(unsigned int seed) {
    Platform::seedRandom(seed);
}

unsigned int MathCallback::getRandomNumber() {
    return Platform::getRandom();
}

} // namespace Tarq::Common::Callback
