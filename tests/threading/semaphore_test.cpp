#include "common/threading/semaphore.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

constexpr char cFile[] = "common/threading/semaphore";
constexpr char cNotReleased[] = "res > 0\nError Message: Cannot release the semaphore";
constexpr char cNotWaited[] = "res != WAIT_FAILED\nError Message: Failed to wait on a semaphore";
constexpr uint32 cMaximum = 0x7FFFFFFE;

/// Takes the count down to 0 and returns what it was.
uint32 drain(Threading::Semaphore& semaphore) {
    uint32 count = 0;
    while (semaphore.tryWait())
        ++count;
    return count;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a semaphore hands out its count and what is released, and nothing else") {
    Threading::Semaphore semaphore(2, 5);
    CHECK(drain(semaphore) == 2);
    for (int times = 0; times < 3; ++times)
        semaphore.release();
    semaphore.wait();
    CHECK(drain(semaphore) == 2);

    Threading::Semaphore plain;
    CHECK(drain(plain) == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a semaphore is not released past its maximum") {
    struct {
        uint32 initial;
        uint32 maximum;
    } const cases[] = {{1, 1}, {3, 3}, {cMaximum, cMaximum}};
    for (const auto& test : cases) {
        CAPTURE(test.maximum);
        Threading::Semaphore semaphore(test.initial, test.maximum);
        {
            const ExpectedAssertion expected(cNotReleased, cFile);
            semaphore.release();
        }
        // One less, and there is room for exactly one again.
        semaphore.wait();
        semaphore.release();
        const ExpectedAssertion expected(cNotReleased, cFile);
        semaphore.release();
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a semaphore with impossible counts is reported, and so is its use") {
    struct {
        uint32 initial;
        uint32 maximum;
    } const cases[] = {{2, 1}, {0, 0}, {0, cMaximum + 1}, {0xFFFFFFFF, 0xFFFFFFFF}};
    for (const auto& test : cases) {
        CAPTURE(test.initial);
        std::optional<Threading::Semaphore> semaphore;
        {
            const ExpectedAssertion expected("mHandle\nError Message: Cannot create semaphore", cFile);
            semaphore.emplace(test.initial, test.maximum);
        }
        const ExpectedAssertion released(cNotReleased, cFile);
        const ExpectedAssertion waited(cNotWaited, cFile, 2);
        semaphore->release();
        semaphore->wait();
        CHECK_FALSE(semaphore->tryWait());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "every release lets one waiting thread go on") {
    constexpr int cThreads = 4;
    Threading::Semaphore waited;
    Threading::Semaphore passed;
    std::atomic<int> count{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < cThreads; ++thread) {
        threads.emplace_back([&] {
            waited.wait();
            ++count;
            passed.release();
        });
    }
    for (int released = 1; released <= cThreads; ++released) {
        waited.release();
        passed.wait();
        CHECK(count == released);
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST_CASE_FIXTURE(LibraryTest, "no count is lost or made between several threads that release and wait") {
    constexpr int cPairs = 3;
    constexpr int cRounds = 20000;
    Threading::Semaphore full;
    Threading::Semaphore free(5, 5);
    std::atomic<int> places{5};
    std::atomic<bool> exceeded{false};
    std::vector<std::thread> threads;
    for (int pair = 0; pair < cPairs; ++pair) {
        threads.emplace_back([&] {
            for (int round = 0; round < cRounds; ++round) {
                free.wait();
                if (places.fetch_sub(1) <= 0)
                    exceeded = true;
                full.release();
            }
        });
        threads.emplace_back([&] {
            for (int round = 0; round < cRounds; ++round) {
                full.wait();
                if (places.fetch_add(1) >= 5)
                    exceeded = true;
                free.release();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK_FALSE(exceeded);
    CHECK(drain(full) == 0);
    CHECK(drain(free) == 5);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that comes out of its wait may destroy the semaphore") {
    constexpr int cRounds = 2000;
    Threading::Semaphore handed;
    Threading::Semaphore taken;
    std::atomic<Threading::Semaphore*> current{nullptr};
    std::thread releaser([&] {
        for (int round = 0; round < cRounds; ++round) {
            handed.wait();
            Threading::Semaphore* const semaphore = current;
            taken.release();
            semaphore->release();
        }
    });
    for (int round = 0; round < cRounds; ++round) {
        auto* const semaphore = new Threading::Semaphore;
        current = semaphore;
        handed.release();
        taken.wait();
        semaphore->wait();
        delete semaphore;
    }
    releaser.join();
}
