#include "common/threading/mutex.h"
#include "common/threading/spinlock.h"

#include "tests/support/librarytest.h"

#include <algorithm>
#include <array>
#include <new>
#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::Mutex;
using Threading::SpinLock;

namespace {

constexpr char cFile[] = "common/threading/mutex";

/// Whether another thread gets in; lets go again.
template <class Lock>
bool isFree(Lock& lock) {
    bool locked = false;
    std::thread([&] {
        locked = lock.tryLock();
        if (locked)
            lock.unlock();
    }).join();
    return locked;
}

template <class Lock>
void checkLock(Lock&& lock) {
    lock.lock();
    CHECK(lock.tryLock());
    CHECK_FALSE(isFree(lock));
    lock.unlock();
    CHECK_FALSE(isFree(lock));
    lock.unlock();
    CHECK(isFree(lock));

    int count = 0;
    const auto work = [&] {
        for (int round = 0; round < 5000; ++round) {
            const Threading::ScopedLock inside(lock);
            const Threading::ScopedLock again(lock);
            ++count;
            // The others come to a closed lock, and stop spinning.
            if (round % 500 == 0)
                std::this_thread::yield();
        }
    };
    { const std::jthread threads[] = {std::jthread(work), std::jthread(work), std::jthread(work)}; }
    CHECK(count == 15000);
}

/// Bytes in which a mutex can go before they do.
struct Place {
    alignas(Mutex) std::array<unsigned char, sizeof(Mutex)> bytes;
    Mutex* const mutex = ::new (static_cast<void*>(bytes.data())) Mutex;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a lock is recursive, and lets one thread in while others spin or sleep") {
    checkLock(Mutex());
    checkLock(SpinLock(0));
    checkLock(SpinLock(Threading::cSpinCount));
}

TEST_CASE_FIXTURE(LibraryTest, "whoever enters a spin lock last may destroy it, the one before may still be leaving") {
    for (int round = 0; round < 2000; ++round) {
        auto* const lock = new SpinLock(round % 2 == 0 ? 0 : Threading::cSpinCount);
        lock->lock();
        const std::jthread last([=] {
            lock->lock();
            lock->unlock();
            delete lock;
        });
        lock->unlock();
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a mutex whose owner has ended: lock reports it and owns, tryLock reports and refuses") {
    constexpr char cAbandoned[] = "\nError Message: Previously owning thread of the mutex has been destroyed before he "
                                  "could unlock the mutex";
    const ExpectedAssertion taken(cAbandoned, cFile);
    const ExpectedAssertion refused("\nError Message: Lock on mutex failed", cFile);
    Mutex mutex;
    const auto abandon = [&] {
        mutex.lock();
        mutex.lock();
    };
    std::thread(abandon).join();
    mutex.lock();
    CHECK_FALSE(isFree(mutex));
    mutex.unlock();
    std::thread(abandon).join();
    CHECK_FALSE(mutex.tryLock());
    CHECK(isFree(mutex));
}

// The thread sanitizer stops at these mistakes by itself, before the mutex can refuse them.
#ifndef TARQ_TEST_THREAD_SANITIZER
TEST_CASE_FIXTURE(LibraryTest, "unlocking a mutex that somebody else holds, or nobody, changes nothing") {
    const ExpectedAssertion expected("res\nError Message: Mutex is not owned, so it cannot be unlocked", cFile, 2);
    Mutex mutex;
    mutex.unlock();
    mutex.lock();
    std::thread([&] { mutex.unlock(); }).join();
    CHECK_FALSE(isFree(mutex));
}
#endif

TEST_CASE_FIXTURE(LibraryTest, "a mutex may go while its owner holds it, and leaves no link to its bytes behind") {
    std::thread([] {
        Mutex before;
        Mutex after;
        Place place;
        before.lock();
        place.mutex->lock();
        place.mutex->lock();
        after.lock();
        place.mutex->~Mutex();
        place.bytes.fill(0xAB);
        before.unlock();
        after.unlock();
        CHECK(std::ranges::all_of(place.bytes, [](unsigned char byte) { return byte == 0xAB; }));
    }).join();
}

TEST_CASE_FIXTURE(LibraryTest, "a mutex that goes while another thread holds it is reported") {
    const ExpectedAssertion expected("\nError Message: Mutex is destroyed while another thread holds it", cFile);
    Place place;
    std::thread([&] {
        place.mutex->lock();
        std::thread([&] { place.mutex->~Mutex(); }).join();
    }).join();
}
