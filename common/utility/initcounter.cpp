#include "common/utility/initcounter.h"

#include "common/debug/assert.h"

namespace Tarq::Common {

InitCounter::~InitCounter() {
    TARQ_ASSERT(mInitCount == 0, mName, " still has ", mInitCount, " initialisations left! ");
}

bool InitCounter::init() noexcept {
    return ++mInitCount == 1;
}

bool InitCounter::deinit() {
    if (!TARQ_ASSERT(mInitCount > 0, "Deinit is called to often for: ", mName))
        return false;
    return --mInitCount == 0;
}

} // namespace Tarq::Common
