#include "common/threading/thread.h"

#include "common/exceptions/invalidstateexception.h"
#include "common/interface.h"
#include "common/threading/threaded.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include <pthread.h>
#include <sys/resource.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::Thread;

namespace {

constexpr char cFile[] = "common/threading/thread";
constexpr char cInvalid[] = "mHandle != THREAD_INVALID_HANDLE\nError Message: Invalid thread handle";
constexpr char cPseudo[] = "!mPsydoInstance\nError Message: cannot close pysdo instances of thread classes";
constexpr char cOutOfRange[] = "priority <= TPRIO_TIME_CRITICAL\nError Message: priority out of range";
constexpr auto cBeyond = static_cast<Thread::ThreadPriority>(16);

/// A body that a test writes in place.
struct Body : Threading::Threaded {
    explicit Body(std::function<int32()> work) : mWork(std::move(work)) {}
    int32 run() override { return mWork(); }

    const std::function<int32()> mWork;
};

static_assert(!std::is_constructible_v<Thread, Body*>);

/// Runs `work` on a thread of its own to the end, and returns the exit code.
int runToEnd(std::function<int32()> work, int stackSize = 0) {
    Body body(std::move(work));
    return Thread(&body, "Runner", stackSize).join();
}

int returnSeven(void*) {
    return 7;
}

template <std::size_t Size>
int useStack() {
    volatile char room[Size];
    for (std::size_t at = 0; at < Size; at += 1024)
        room[at] = 7;
    return room[0];
}

int readOwnNice() {
    return getpriority(PRIO_PROCESS, 0);
}

/// Counts one more when it goes, and takes its time.
struct Departure {
    int& mCount;

    ~Departure() {
        Thread::sleep(0);
        ++mCount;
    }
};

struct ExitingCallback : Callback::AssertCallback {
    void showAssert(const char*, const char*, unsigned int) override { Thread::exit(9); }
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "joining a thread returns its exit code, as often as it is asked") {
    struct Self : Threading::Threaded {
        // The handle is in place before the body runs; without one this reports an assertion.
        int32 run() override { return mThread.getPriority() - 7; }
        Thread mThread{this, "Self", 0};
    };
    const ExpectedAssertion expected(cInvalid, cFile, 200);
    for (int round = 0; round < 200; ++round) {
        Self self;
        CHECK(self.mThread.join() == -7);
        CHECK(self.mThread.join() == -7);
        CHECK(self.getResult() == -7);
        self.mThread.closeHandle();
        CHECK(self.mThread.join() == Thread::cNoExitCode);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that knows itself can be waited for, until its static objects are gone") {
    static int left;
    left = 0;
    for (int round = 1; round <= 50; ++round) {
        CAPTURE(round);
        Gate closed;
        Gate known;
        Gate end;
        std::optional<Thread> pseudo;
        Body body([&] {
            static thread_local const Departure departure{left};
            closed.wait();
            pseudo.emplace(Thread::getCurrentThread().releaseHandle());
            known.open();
            end.wait();
            if (round % 2 == 0)
                Thread::exit(3);
            return 3;
        });
        Thread(&body, "Known", 0).closeHandle();
        closed.open();
        known.wait();
        // Several may wait for one.
        const auto join = [&] {
            CHECK(pseudo->join() == 3);
            CHECK(left == round);
        };
        const std::jthread other(join);
        end.open();
        join();
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that somebody else started can be waited for, and has a code if it says one") {
    for (const bool saysCode : {false, true}) {
        CAPTURE(saysCode);
        Gate known;
        std::optional<Thread> pseudo;
        const std::jthread foreign([&] {
            pseudo.emplace(Thread::getCurrentThread().releaseHandle());
            known.open();
            if (saysCode)
                Thread::exit(5);
        });
        known.wait();
        constexpr char cNoCode[] = "retVal\nError Message: cannot get exit code from joined thread";
        const ExpectedAssertion expected(cNoCode, cFile, saysCode ? 0 : 1);
        CHECK(pseudo->join() == (saysCode ? 5 : Thread::cNoExitCode));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that nobody waits for has taken nothing from an unsafe allocator") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    delete new (host) Thread(&returnSeven, nullptr, "Careful", 0);
    CHECK(ledger.mAsked.size() == 1);
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(LibraryTest, "a released handle is the caller's: to wrap, to join, to close") {
    const ExpectedAssertion expected(cPseudo, cFile);
    Thread thread(&returnSeven, nullptr, "Released", 0);
    void* const handle = thread.releaseHandle();
    CHECK(thread.releaseHandle() == Threading::THREAD_INVALID_HANDLE);
    thread.closeHandle();
    Thread pseudo(handle);
    pseudo.closeHandle();
    CHECK(pseudo.join() == 7);
    CHECK(Thread(handle).releaseHandle() == handle);
    Thread::closeReleasedHandle(handle);
    Thread::closeReleasedHandle(Threading::THREAD_INVALID_HANDLE);
    CHECK(pseudo.join() == 7);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread cannot wait for itself, nor close itself by what it knows of itself") {
    const auto work = [] {
        const ExpectedAssertion joined("retVal != WAIT_FAILED\nError Message: cannot join thread", cFile);
        const ExpectedAssertion closed(cPseudo, cFile);
        Thread::getCurrentThread().closeHandle();
        return Thread::getCurrentThread().join();
    };
    CHECK(runToEnd(work) == Thread::cNoExitCode);
    CHECK(work() == Thread::cNoExitCode);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread that cannot be started is reported and has no handle") {
    const String name("Never");
    constexpr char cNotCreated[] = "mHandle != THREAD_INVALID_HANDLE\nError Message: cannot create new thread";
    const ExpectedAssertion created(cNotCreated, cFile, 3);
    const ExpectedAssertion outOfRange(cOutOfRange, cFile);
    const ExpectedAssertion used(cInvalid, cFile, 3);
    Thread noFunction(nullptr, nullptr, name, 0);
    Thread noObject(static_cast<Threading::Threaded*>(nullptr), name, 0);
    getMemory().failAfter(0);
    Thread noMemory(&returnSeven, nullptr, name, 0);
    getMemory().failNever();
    CHECK(noMemory.join() == Thread::cNoExitCode);
    CHECK(noMemory.getPriority() == Thread::TPRIO_NORMAL);
    noMemory.setPriority(cBeyond);
    noMemory.closeHandle();
    CHECK(noMemory.releaseHandle() == Threading::THREAD_INVALID_HANDLE);
}

TEST_CASE_FIXTURE(LibraryTest, "what a body throws is reported and ends its thread; the report may end it too") {
    const std::pair<const char*, int32 (*)()> cases[] = {
        {"closed", []() -> int32 { throw new Exceptions::InvalidStateException("closed"); }},
        {"broken", []() -> int32 { throw std::runtime_error("broken"); }},
        {"of a type unknown here", []() -> int32 { throw 7; }},
    };
    for (const auto& [what, raise] : cases) {
        const std::string text = "\nError Message: Thread \"Thrower\" was left by an exception: ";
        const ExpectedAssertion expected(text + what, cFile);
        Body body(raise);
        CHECK(Thread(&body, "Thrower", 0).join() == Thread::cNoExitCode);
        CHECK(body.getResult() == Thread::cNoExitCode);
        const Callback::AssertCallbackPtr callback = Interface::getAssertCallback();
        Interface::setAssertCallback(Callback::AssertCallbackPtr(new ExitingCallback));
        CHECK(Thread(&body, "Thrower", 0).join() == 9);
        Interface::setAssertCallback(callback);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "exit ends a thread from within, through destructors and handlers") {
    int left = 0;
    Body body([&]() -> int32 {
        const Departure departure{left};
        try {
            Thread::exit(9);
        } catch (...) {
            ++left;
            throw;
        }
    });
    CHECK(Thread(&body, "Leaver", 0).join() == 9);
    CHECK(left == 2);
    CHECK(body.getResult() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a name keeps its first 26 characters, and the system shows what it has room for") {
    for (const std::string given : {"0123456789abcdefghijklmnopqrstuvwxyzABCD", "Worker"}) {
        std::string own;
        char shown[16] = {};
        Body body([&] {
            own = Thread::getCurrentThread().getName();
            return pthread_getname_np(pthread_self(), shown, sizeof(shown));
        });
        Thread thread(&body, given.c_str(), 0);
        CHECK(thread.join() == 0);
        CHECK(thread.getName() == given.substr(0, 26));
        CHECK(own == given.substr(0, 26));
        CHECK(shown == given.substr(0, 15));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a stack is at least as large as asked for, and never smaller than the default") {
    constexpr int cMebi = 1024 * 1024;
    CHECK(runToEnd(&useStack<cMebi>, 1) == 7);
    CHECK(runToEnd(&useStack<18 * cMebi>, 20 * cMebi) == 7);
}

TEST_CASE_FIXTURE(LibraryTest, "a priority is kept as it was set, and reaches the system; one out of range does not") {
    runToEnd([] {
        const int normal = readOwnNice();
        const int cases[][2] = {{-1, normal + 5}, {-2, normal + 10}, {-14, normal + 10}, {-15, 19}};
        const ExpectedAssertion expected(cOutOfRange, cFile, 4);
        Thread self = Thread::getCurrentThread();
        for (const auto& [level, nice] : cases) {
            self.setPriority(static_cast<Thread::ThreadPriority>(level));
            self.setPriority(cBeyond);
            CHECK(self.getPriority() == level);
            CHECK(readOwnNice() == std::min(nice, 19));
        }
        // How far back a thread may go differs. One that starts at a lowered one goes as far.
        self.setPriority(Thread::TPRIO_NORMAL);
        const int back = readOwnNice();
        self.setPriority(Thread::TPRIO_IDLE);
        CHECK(runToEnd(&readOwnNice) == back);
        return 0;
    });
}
