#include "common/threading/fairmutex.h"

#include "tests/support/librarytest.h"

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
