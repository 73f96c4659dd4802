#include "common/threading/thread.h"

#include "common/threading/threaded.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::Thread;

namespace {

constexpr char cFile[] = "common/threading/thread";
constexpr char cInvalid[] = "mHandle != THREAD_INVALID_HANDLE\nError Message: Invalid thread handle";
constexpr char cNotCreated[] = "mHandle != THREAD_INVALID_HANDLE\nError Message: cannot create new thread";
constexpr char cNotJoined[] = "retVal != WAIT_FAILED\nError Message: cannot join thread";
constexpr char cNoCode[] = "retVal\nError Message: cannot get exit code from joined thread";
constexpr char cPseudo[] = "!mPsydoInstance\nError Message: cannot close pysdo instances of thread classes";

using Body = std::function<int()>;

int runBody(void* body) {
    return (*static_cast<Body*>(body))();
}

int returnSeven(void*) {
    return 7;
}

class Counting : public Threading::Threaded {
public:
    int32 run() override { return mCount += 7; }

private:
    int32 mCount = 0;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "joining a thread returns its exit code, as often as it is asked") {
    for (const int code : {7, 0, -1, 0x7FFFFFFF}) {
        Body body = [&] { return code; };
        Thread thread(&runBody, &body, "Worker", 0);
        CHECK(thread.join() == code);
        CHECK(thread.join() == code);
        thread.closeHandle();
        const ExpectedAssertion expected(cInvalid, cFile);
        CHECK(thread.join() == Thread::cNoExitCode);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an object that runs its own thread keeps the result of its last run") {
    Counting counting;
    CHECK(counting.getResult() == 0);
    for (const int32 result : {7, 14}) {
        auto* const thread = new (allocator()) Thread(&counting, "Counting", 0);
        CHECK(thread->join() == result);
        CHECK(counting.getResult() == result);
        delete thread;
    }
}

TEST_CASE_FIXTURE(LibraryTest, "several threads may join one") {
    Gate end;
    Body body = [&] {
        end.wait();
        return 42;
    };
    Thread thread(&runBody, &body, "Joined", 0);
    std::atomic<int> sum{0};
    std::vector<std::thread> joiners;
    for (int joiner = 0; joiner < 4; ++joiner)
        joiners.emplace_back([&] { sum += thread.join(); });
    end.open();
    for (std::thread& joiner : joiners)
        joiner.join();
    CHECK(sum == 4 * 42);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread runs on when its handle is closed") {
    // Outlives the thread, whose end nobody waits for but the fixture.
    static Gate closed;
    Gate ran;
    {
        const Thread thread(
            [](void* gate) {
                closed.wait();
                static_cast<Gate*>(gate)->open();
                return 0;
            },
            &ran, "Detached", 0);
    }
    closed.open();
    ran.wait();
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that has ended keeps its exit code until its handle is closed") {
    const int threads = countThreads();
    Thread thread(&returnSeven, nullptr, "Ended", 0);
    while (countThreads() > threads)
        Thread::sleep(0);
    CHECK(thread.join() == 7);
}

TEST_CASE_FIXTURE(LibraryTest, "a released handle is the caller's: to wrap, to join, to close") {
    Thread thread(&returnSeven, nullptr, "Released", 0);
    void* const handle = thread.releaseHandle();
    REQUIRE(handle != Threading::THREAD_INVALID_HANDLE);
    CHECK(thread.releaseHandle() == Threading::THREAD_INVALID_HANDLE);
    thread.closeHandle();

    Thread pseudo(handle);
    {
        const ExpectedAssertion expected(cPseudo, cFile);
        pseudo.closeHandle();
    }
    CHECK(pseudo.join() == 7);
    Thread again(handle);
    CHECK(again.releaseHandle() == handle);
    Thread::closeReleasedHandle(handle);
    Thread::closeReleasedHandle(Threading::THREAD_INVALID_HANDLE);
    CHECK(pseudo.join() == 7);
}

TEST_CASE_FIXTURE(LibraryTest, "a body finds the handle in the instance that it runs for") {
    struct Self {
        // Without a handle this reports an assertion.
        static int run(void* self) { return static_cast<Self*>(self)->mThread.getPriority(); }
        Thread mThread{&run, this, "Self", 0};
    };
    for (int round = 0; round < 200; ++round)
        CHECK(Self().mThread.join() == Thread::TPRIO_NORMAL);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread cannot wait for itself, nor close itself by what it knows of itself") {
    Body body = [&] {
        Thread self = Thread::getCurrentThread();
        {
            const ExpectedAssertion expected(cNotJoined, cFile);
            CHECK(self.join() == Thread::cNoExitCode);
        }
        const ExpectedAssertion expected(cPseudo, cFile);
        Thread::getCurrentThread().closeHandle();
        return 7;
    };
    Thread thread(&runBody, &body, "Self", 0);
    CHECK(thread.join() == 7);
    body();
}

TEST_CASE_FIXTURE(LibraryTest, "a running thread can be waited for by what it knows of itself") {
    const Body bodies[] = {
        [] { return 3; },
        []() -> int { Thread::exit(3); },
    };
    for (const Body& last : bodies) {
        Gate known;
        Gate end;
        void* handle = nullptr;
        Body body = [&] {
            handle = Thread::getCurrentThread().releaseHandle();
            known.open();
            end.wait();
            return last();
        };
        auto* const thread = new (allocator()) Thread(&runBody, &body, "Known", 0);
        known.wait();
        Thread pseudo(handle);
        delete thread;
        end.open();
        CHECK(pseudo.join() == 3);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that somebody else started can be waited for, and has a code if it says one") {
    for (const bool saysCode : {false, true}) {
        CAPTURE(saysCode);
        Gate known;
        Gate end;
        void* handle = nullptr;
        std::thread foreign([&] {
            handle = Thread::getCurrentThread().releaseHandle();
            CHECK(Thread::getCurrentThread().releaseHandle() == handle);
            known.open();
            end.wait();
            if (saysCode)
                Thread::exit(5);
        });
        known.wait();
        Thread pseudo(handle);
        pseudo.setPriority(Thread::TPRIO_BELOW_NORMAL);
        end.open();
        {
            const ExpectedAssertion expected(cNoCode, cFile, saysCode ? 0 : 1);
            CHECK(pseudo.join() == (saysCode ? 5 : Thread::cNoExitCode));
        }
        foreign.join();
        CHECK(pseudo.getPriority() == Thread::TPRIO_BELOW_NORMAL);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that cannot be started is reported and has no handle") {
    const String name("Never");
    struct {
        const char* what;
        int (*function)(void*);
        int grantedBlocks;
    } const cases[] = {{"no memory", &returnSeven, 0}, {"no function", nullptr, -1}};
    for (const auto& test : cases) {
        CAPTURE(test.what);
        getMemory().failAfter(test.grantedBlocks);
        const ExpectedAssertion created(cNotCreated, cFile);
        const ExpectedAssertion used(cInvalid, cFile, 3);
        Thread thread(test.function, nullptr, name, 0);
        getMemory().failNever();
        CHECK(thread.join() == Thread::cNoExitCode);
        thread.setPriority(Thread::TPRIO_LOWEST);
        CHECK(thread.getPriority() == Thread::TPRIO_NORMAL);
        thread.closeHandle();
        CHECK(thread.releaseHandle() == Threading::THREAD_INVALID_HANDLE);
    }
    const ExpectedAssertion created(cNotCreated, cFile);
    const Thread thread(static_cast<Threading::Threaded*>(nullptr), name, 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread takes nothing from an allocator that is not safe on several threads") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    auto* const thread = new (host) Thread(&returnSeven, nullptr, "Careful", 0);
    CHECK(ledger.mOutstanding.size() == 1);
    delete thread;
    CHECK(ledger.mOutstanding.empty());
}
