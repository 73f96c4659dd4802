#include "common/threading/fairmutex.h"

#include "tests/support/librarytest.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::FairMutex;
using Lock = Threading::ScopedLock<FairMutex>;

TEST_CASE_FIXTURE(LibraryTest, "threads get a fair mutex in the order in which they asked for it") {
    FairMutex mutex;
    std::string order;
    std::vector<std::thread> threads;
    {
        const Lock first(mutex);
        for (char name = 'a'; name < 'i'; ++name) {
            threads.emplace_back([&, name] {
                const Lock inside(mutex);
                const Lock again(mutex);
                order += name;
            });
            while (mutex.getWaiterCount() != threads.size())
                std::this_thread::yield();
        }
        CHECK(order.empty());
        mutex.lock();
        mutex.unlock();
        CHECK(mutex.isHeld());
    }
    // Whoever let go of it comes last.
    {
        const Lock last(mutex);
        CHECK(order == "abcdefgh");
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK_FALSE(mutex.isHeld());
    CHECK(mutex.getWaiterCount() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a fair mutex keeps threads apart, and none of them waits for ever") {
    FairMutex mutex;
    int64 sum = 0;
    std::vector<std::thread> threads;
    constexpr int cThreads = 4;
    constexpr int cRounds = 20000;
    for (int thread = 0; thread < cThreads; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < cRounds; ++round) {
                const Lock inside(mutex);
                const Lock deeper(mutex);
                ++sum;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK(sum == cThreads * cRounds);
}

TEST_CASE_FIXTURE(LibraryTest, "a fair mutex that is let go of altogether comes back as deep as it was") {
    FairMutex mutex;
    for (const uint32 depth : {1u, 2u, 5u}) {
        CAPTURE(depth);
        for (uint32 times = 0; times < depth; ++times)
            mutex.lock();
        CHECK(mutex.unlockAll() == depth);
        CHECK_FALSE(mutex.isHeld());
        // Another thread gets in, and keeps the first one waiting.
        bool isLeft = false;
        std::atomic<bool> isInside{false};
        std::thread other([&] {
            const Lock inside(mutex);
            isInside = true;
            while (mutex.getWaiterCount() == 0)
                std::this_thread::yield();
            isLeft = true;
        });
        while (!isInside)
            std::this_thread::yield();
        mutex.lockAgain(depth);
        CHECK(isLeft);
        for (uint32 times = 0; times < depth; ++times) {
            CHECK(mutex.isHeld());
            mutex.unlock();
        }
        CHECK_FALSE(mutex.isHeld());
        other.join();
    }
}
