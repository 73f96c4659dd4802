#include "common/debugger/internal/insidemark.h"

#include "common/platform/waitaddress.h"

#include <atomic>

namespace Tarq::Common::Debugger {

namespace {

/// A wake-up may be missed by whoever does not ask for one in time; this is how long it then takes.
constexpr uint32 cSleepMicroseconds = 100000;

/// How many threads are inside. It belongs to no server: a thread may still be on its way out when that is deleted.
constinit std::atomic<uint32> gInside{0};
constinit std::atomic<bool> gIsAwaited{false};

} // namespace

InsideMark::InsideMark() noexcept {
    if (tDepth++ == 0)
        gInside.fetch_add(1);
}

InsideMark::~InsideMark() {
    if (--tDepth == 0 && gInside.fetch_sub(1) == 1 && gIsAwaited.load())
        Platform::wakeOneOnAddress(&gInside);
}

void InsideMark::waitForNone() noexcept {
    gIsAwaited = true;
    for (uint32 inside = gInside.load(); inside != 0; inside = gInside.load())
        Platform::waitOnAddress(gInside, inside, cSleepMicroseconds);
    gIsAwaited = false;
}

} // namespace Tarq::Common::Debugger
