#include "bench/cases.h"
#include "bench/secondthread.h"
#include "common/threading/mutex.h"
#include "common/threading/spinlock.h"

#include <mutex>
#include <system_error>

#include <pthread.h>

namespace Tarq::Bench {

namespace {

struct Spin : Common::Threading::SpinLock {
    Spin() : SpinLock(Common::Threading::cSpinCount) {}
};

/// What the system has that may be locked again and knows of a dead owner.
class RobustMutex {
public:
    RobustMutex() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&mMutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~RobustMutex() { pthread_mutex_destroy(&mMutex); }
    RobustMutex(const RobustMutex&) = delete;
    RobustMutex& operator=(const RobustMutex&) = delete;

    void lock() { succeed(pthread_mutex_lock(&mMutex)); }
    void unlock() { succeed(pthread_mutex_unlock(&mMutex)); }

private:
    static void succeed(int outcome) {
        if (outcome != 0) [[unlikely]]
            throw std::system_error(outcome, std::generic_category());
    }

    pthread_mutex_t mMutex;
};

template <class Lock>
void lockAndUnlock(benchmark::State& state) {
    Lock lock;
    uint64 guarded = 0;
    for (auto _ : state) {
        lock.lock();
        benchmark::DoNotOptimize(++guarded);
        lock.unlock();
    }
    check(guarded == static_cast<uint64>(state.iterations()), "a section was left out");
}

/// What the lock guards is what shows that it does.
template <class Lock>
void lockAndUnlockOnTwoThreads(benchmark::State& state) {
    Lock lock;
    alignas(64) uint64 guarded = 0;
    const uint64 entered = contend(state, [&](uint32) {
        lock.lock();
        benchmark::DoNotOptimize(++guarded);
        lock.unlock();
    });
    check(guarded == entered, "two threads were inside at once");
}

} // namespace

std::vector<Case> lockCases() {
    return {
        {"spinlock/pair", lockAndUnlock<Spin>, {{"std::recursive_mutex", 0.75, lockAndUnlock<std::recursive_mutex>}}},
        // At least 0.7 of the peer's throughput.
        {"spinlock/two-threads",
         lockAndUnlockOnTwoThreads<Spin>,
         {{"std::recursive_mutex", 1 / 0.7, lockAndUnlockOnTwoThreads<std::recursive_mutex>}}},
        {"mutex/pair",
         lockAndUnlock<Common::Threading::Mutex>,
         {{"robust pthread mutex", 1.05, lockAndUnlock<RobustMutex>}}},
    };
}

} // namespace Tarq::Bench
