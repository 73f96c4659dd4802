#include "common/threading/spinlock.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <atomic>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

/// Whether another thread gets in; leaves again.
bool isFree(Threading::SpinLock& lock) {
    bool entered = false;
    std::thread([&] {
        entered = lock.tryLock();
        if (entered)
            lock.unlock();
    }).join();
    return entered;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a spin lock is free again after as many unlocks as locks") {
    Threading::SpinLock lock(Threading::cSpinCount);
    CHECK(isFree(lock));
    lock.lock();
    lock.lock();
    CHECK(lock.tryLock());
    for (int left = 3; left > 0; --left) {
        CHECK_FALSE(isFree(lock));
        lock.unlock();
    }
    CHECK(isFree(lock));
}

TEST_CASE_FIXTURE(LibraryTest, "a spin lock lets one thread in at a time, whether the others spin or sleep") {
    for (const unsigned int spinCount : {0u, 1u, Threading::cSpinCount}) {
        CAPTURE(spinCount);
        Threading::SpinLock lock(spinCount);
        int64 count = 0;
        Gate start;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                start.wait();
                for (int round = 0; round < 5000; ++round) {
                    const Threading::ScopedLock inside(lock);
                    const Threading::ScopedLock again(lock);
                    ++count;
                    // The others come to a closed lock, and stop spinning.
                    if (round % 500 == 0)
                        std::this_thread::yield();
                }
            });
        }
        start.open();
        for (std::thread& thread : threads)
            thread.join();
        CHECK(count == 20000);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "threads that sleep at a spin lock all get in when it opens") {
    Threading::SpinLock lock(0);
    std::atomic<int> entered{0};
    std::vector<std::thread> threads;
    lock.lock();
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            const Threading::ScopedLock inside(lock);
            ++entered;
        });
    }
    CHECK_FALSE(isFree(lock));
    CHECK(entered == 0);
    lock.unlock();
    for (std::thread& thread : threads)
        thread.join();
    CHECK(entered == 4);
    CHECK(isFree(lock));
}

TEST_CASE_FIXTURE(LibraryTest,
                  "whoever enters a spin lock last may destroy it, even if the one before is still leaving") {
    for (int round = 0; round < 2000; ++round) {
        auto* const lock = new Threading::SpinLock(round % 2 == 0 ? 0 : Threading::cSpinCount);
        std::atomic<int> left{2};
        const auto leaveAndDestroy = [&] {
            lock->lock();
            const bool isLast = --left == 0;
            lock->unlock();
            if (isLast)
                delete lock;
        };
        std::thread other(leaveAndDestroy);
        leaveAndDestroy();
        other.join();
    }
}
