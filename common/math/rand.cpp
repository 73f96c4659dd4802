#include "common/math/rand.h"

#include "common/exceptions/notsupportedexception.h"
#include "common/platform/random.h"

namespace Tarq::Common::Math {

void Rand::setSeed(unsigned int seed) {
    Platform::seedRandom(seed);
}

int Rand::getRandInt32(int min, int max) {
    const int64 span = int64{max} - min + 1;
    if (span <= 0)
        return min;
    return static_cast<int>(min + int64{Platform::getRandom()} % span);
}

float Rand::getRandFloat() {
    return static_cast<float>(Platform::getRandom()) * (1.0f / 32768.0f);
}

float Rand::getRandFloat(float min, float max) {
    return min + (max - min) * getRandFloat();
}

bool Rand::getRandBool() {
    return (Platform::getRandom() & 1) != 0;
}

float Rand::getRandClamped() {
    const float first = getRandFloat();
    const float second = getRandFloat();
    return first - second;
}

unsigned int Rand::getRandSecureUIntMax() {
    uint32 number = 0;
    if (!Platform::getSecureRandom(number))
        throw new Exceptions::NotSupportedException("Rand: The system has no secure random numbers.");
    return number;
}

} // namespace Tarq::Common::Math
