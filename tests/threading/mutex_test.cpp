#include "common/threading/mutex.h"

#include "common/threading/spinlock.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <array>
#include <new>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

constexpr char cFile[] = "common/threading/mutex";
constexpr char cAbandoned[] = "\nError Message: Previously owning thread of the mutex has been destroyed before he "
                              "could unlock the mutex";
constexpr char cNotOwned[] = "res\nError Message: Mutex is not owned, so it cannot be unlocked";

/// Whether another thread gets in; lets go again.
bool isFree(Threading::Mutex& mutex) {
    bool locked = false;
    std::thread([&] {
        locked = mutex.tryLock();
        if (locked)
            mutex.unlock();
    }).join();
    return locked;
}

void abandon(Threading::Mutex& mutex, int entries) {
    std::thread([&] {
        for (int entry = 0; entry < entries; ++entry)
            mutex.lock();
    }).join();
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a mutex is free again after as many unlocks as locks") {
    Threading::Mutex mutex;
    CHECK(isFree(mutex));
    mutex.lock();
    mutex.lock();
    CHECK(mutex.tryLock());
    for (int left = 3; left > 0; --left) {
        CHECK_FALSE(isFree(mutex));
        mutex.unlock();
    }
    CHECK(isFree(mutex));
}

TEST_CASE_FIXTURE(LibraryTest, "a mutex whose owner has ended is handed to the next one with a report") {
    Threading::Mutex mutex;
    abandon(mutex, 3);
    {
        const ExpectedAssertion expected(cAbandoned, cFile);
        mutex.lock();
    }
    CHECK_FALSE(isFree(mutex));
    mutex.unlock();
    CHECK(isFree(mutex));
    mutex.lock();
    mutex.unlock();
}

TEST_CASE_FIXTURE(LibraryTest, "a waiting thread gets the mutex when its owner ends") {
    Threading::Mutex mutex;
    Gate locked;
    const ExpectedAssertion expected(cAbandoned, cFile);
    std::thread owner([&] {
        mutex.lock();
        locked.open();
    });
    locked.wait();
    mutex.lock();
    owner.join();
    CHECK_FALSE(isFree(mutex));
    mutex.unlock();
}

TEST_CASE_FIXTURE(LibraryTest, "tryLock on a mutex whose owner has ended reports, refuses and leaves it free") {
    Threading::Mutex mutex;
    abandon(mutex, 1);
    {
        const ExpectedAssertion expected("\nError Message: Lock on mutex failed", cFile);
        CHECK_FALSE(mutex.tryLock());
    }
    CHECK(isFree(mutex));
}

// The thread sanitizer stops at these mistakes by itself, before the mutex can refuse them.
#ifndef __SANITIZE_THREAD__
TEST_CASE_FIXTURE(LibraryTest, "unlocking a mutex that somebody else holds, or nobody, changes nothing") {
    Threading::Mutex mutex;
    {
        const ExpectedAssertion expected(cNotOwned, cFile);
        mutex.unlock();
    }
    mutex.lock();
    {
        const ExpectedAssertion expected(cNotOwned, cFile);
        std::thread([&] { mutex.unlock(); }).join();
    }
    CHECK_FALSE(isFree(mutex));
    mutex.unlock();
    CHECK(isFree(mutex));
}
#endif

TEST_CASE_FIXTURE(LibraryTest, "a mutex may go while its owner holds it, and leaves no link to its bytes behind") {
    std::thread([] {
        alignas(Threading::Mutex) std::array<unsigned char, sizeof(Threading::Mutex)> bytes;
        Threading::Mutex before;
        Threading::Mutex after;
        auto* const gone = ::new (static_cast<void*>(bytes.data())) Threading::Mutex;
        before.lock();
        gone->lock();
        gone->lock();
        after.lock();
        gone->~Mutex();
        bytes.fill(0xAB);
        before.unlock();
        after.unlock();
        CHECK(std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0xAB; }));
        CHECK(isFree(before));
        CHECK(isFree(after));
    }).join();
}

TEST_CASE_FIXTURE(LibraryTest, "a mutex lets one thread in at a time") {
    Threading::Mutex mutex;
    int64 count = 0;
    Gate start;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            start.wait();
            for (int round = 0; round < 20000; ++round) {
                const Threading::ScopedLock inside(mutex);
                const Threading::ScopedLock again(mutex);
                ++count;
            }
        });
    }
    start.open();
    for (std::thread& thread : threads)
        thread.join();
    CHECK(count == 80000);
}
