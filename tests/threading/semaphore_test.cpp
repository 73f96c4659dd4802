#include "common/threading/semaphore.h"

#include "tests/support/librarytest.h"

#include <functional>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::Semaphore;

namespace {

constexpr char cFile[] = "common/threading/semaphore";
constexpr char cNotReleased[] = "res > 0\nError Message: Cannot release the semaphore";
constexpr uint32 cMaximum = 0x7FFFFFFE;

/// Takes the count down to 0 and returns what it was.
uint32 drain(Semaphore& semaphore) {
    uint32 count = 0;
    while (semaphore.tryWait())
        ++count;
    return count;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a semaphore hands out its count and what is released, up to its maximum") {
    Semaphore plain;
    CHECK(drain(plain) == 0);
    Semaphore few(2, 3);
    few.release();
    few.wait();
    CHECK(drain(few) == 2);
    for (const uint32 maximum : {1u, cMaximum}) {
        const ExpectedAssertion expected(cNotReleased, cFile, 2);
        Semaphore full(maximum, maximum);
        full.release();
        // One less, and there is room for exactly one again.
        full.wait();
        full.release();
        full.release();
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a semaphore with impossible counts is reported, and so is its use") {
    const ExpectedAssertion created("mHandle\nError Message: Cannot create semaphore", cFile, 2);
    const ExpectedAssertion released(cNotReleased, cFile, 2);
    const ExpectedAssertion waited("res != WAIT_FAILED\nError Message: Failed to wait on a semaphore", cFile, 4);
    Semaphore tooFull(2, 1);
    Semaphore tooLarge(0, cMaximum + 1);
    for (Semaphore* const semaphore : {&tooFull, &tooLarge}) {
        semaphore->release();
        semaphore->wait();
        CHECK_FALSE(semaphore->tryWait());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "no count is lost or made between several threads that release and wait") {
    // One count too many meets the maximum, and is reported.
    Semaphore full(0, 5);
    Semaphore free(5, 5);
    const auto carry = [](Semaphore& from, Semaphore& to) {
        for (int round = 0; round < 20000; ++round) {
            from.wait();
            to.release();
        }
    };
    std::vector<std::jthread> threads;
    for (int pair = 0; pair < 3; ++pair) {
        threads.emplace_back(carry, std::ref(free), std::ref(full));
        threads.emplace_back(carry, std::ref(full), std::ref(free));
    }
    threads.clear();
    CHECK(drain(full) == 0);
    CHECK(drain(free) == 5);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that comes out of its wait may destroy the semaphore") {
    for (int round = 0; round < 2000; ++round) {
        auto* const semaphore = new Semaphore;
        const std::jthread releaser([=] { semaphore->release(); });
        semaphore->wait();
        delete semaphore;
    }
}
