#include "common/platform/criticalsection.h"

#include "common/platform/waitaddress.h"

#include <algorithm>

namespace Tarq::Common::Platform {

namespace {

/// Between two looks at the lock a spinner pauses this often at most.
constexpr uint32 cLongestBackoff = 32;
constexpr uint32 cFirstSleepMicroseconds = 50;
constexpr uint32 cLongestSleepMicroseconds = 1000000;

/// Four bytes of the static block that every process sets aside for libraries loaded late: read without a call.
[[gnu::tls_model("initial-exec")]] thread_local constinit uint32 tToken = 0;

uint32 makeToken() noexcept {
    static std::atomic<uint32> next{0};
    do {
        tToken = next.fetch_add(1, std::memory_order_relaxed) + 1;
    } while (tToken == 0);
    return tToken;
}

inline uint32 threadToken() noexcept {
    const uint32 token = tToken;
    return token != 0 ? token : makeToken();
}

} // namespace

uint32 getThreadToken() noexcept {
    return threadToken();
}

void CriticalSection::lock() noexcept {
    const uint32 self = threadToken();
    uint32 free = 0;
    if (mOwner.compare_exchange_strong(free, self, std::memory_order_acquire, std::memory_order_relaxed)) [[likely]]
        return;
    if (free == self) {
        ++mRecursion;
        return;
    }
    lockContended(self);
}

bool CriticalSection::tryLock() noexcept {
    const uint32 self = threadToken();
    uint32 free = 0;
    if (mOwner.compare_exchange_strong(free, self, std::memory_order_acquire, std::memory_order_relaxed))
        return true;
    if (free != self)
        return false;
    ++mRecursion;
    return true;
}

void CriticalSection::wakeWaiter(const std::atomic<uint32>* address) noexcept {
    wakeOneOnAddress(address);
}

void CriticalSection::lockContended(uint32 self) noexcept {
    uint32 backoff = 1;
    for (uint32 spun = 0; spun < mSpinCount; spun += backoff) {
        backoff = std::min(backoff * 2, cLongestBackoff);
        for (uint32 pause = 0; pause < backoff; ++pause)
            relaxProcessor();
        uint32 free = mOwner.load(std::memory_order_relaxed);
        if (free == 0 && mOwner.compare_exchange_weak(free, self, std::memory_order_acquire, std::memory_order_relaxed))
            return;
    }

    mWaiters.fetch_add(1, std::memory_order_relaxed);
    uint32 sleepMicroseconds = cFirstSleepMicroseconds;
    for (;;) {
        uint32 owner = 0;
        if (mOwner.compare_exchange_strong(owner, self, std::memory_order_acquire, std::memory_order_relaxed))
            break;
        waitOnAddress(mOwner, owner, sleepMicroseconds);
        sleepMicroseconds = std::min(sleepMicroseconds * 2, cLongestSleepMicroseconds);
    }
    mWaiters.fetch_sub(1, std::memory_order_relaxed);
}

} // namespace Tarq::Common::Platform
