#include "common/exceptions/invalidstateexception.h"
#include "common/threading/thread.h"
#include "common/threading/threaded.h"

#include "tests/support/gate.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Threading::Thread;

namespace {

constexpr char cFile[] = "common/threading/thread";

/// A body that a test writes in place.
class Body : public Threading::Threaded {
public:
    explicit Body(std::function<int32()> work) : mWork(std::move(work)) {}
    int32 run() override { return mWork(); }

private:
    std::function<int32()> mWork;
};

/// Counts one more when it goes.
class Departure {
public:
    explicit Departure(int& count) : mCount(count) {}
    ~Departure() { ++mCount; }
    Departure(const Departure&) = delete;
    Departure& operator=(const Departure&) = delete;

    int getCount() const { return mCount; }

private:
    int& mCount;
};

/// What the system says about the calling thread.
std::string readOwnFile(const char* name) {
    std::ifstream file("/proc/self/task/" + std::to_string(Thread::getCurrentID()) + "/" + name);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

int readOwnNice() {
    const std::string stat = readOwnFile("stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 19; ++field)
        fields >> skipped;
    int value = 100;
    fields >> value;
    return value;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "what a body throws is reported and ends its thread") {
    struct {
        const char* what;
        std::function<void()> raise;
    } const cases[] = {
        {"closed", [] { throw new Exceptions::InvalidStateException("closed"); }},
        {"broken", [] { throw std::runtime_error("broken"); }},
        {"of a type unknown here", [] { throw 7; }},
    };
    for (const auto& test : cases) {
        CAPTURE(test.what);
        const std::string text = "\nError Message: Thread \"Thrower\" was left by an exception: ";
        const ExpectedAssertion expected(text + test.what, cFile);
        int left = 0;
        Body body([&]() -> int32 {
            const Departure departure(left);
            test.raise();
            return 1;
        });
        Thread thread(&body, "Thrower", 0);
        CHECK(thread.join() == Thread::cNoExitCode);
        CHECK(body.getResult() == Thread::cNoExitCode);
        CHECK(left == 1);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "exit ends a thread from within, through destructors and handlers") {
    int left = 0;
    Body body([&]() -> int32 {
        const Departure outer(left);
        try {
            const Departure inner(left);
            Thread::exit(9);
        } catch (...) {
            ++left;
            throw;
        }
        return 1;
    });
    Thread thread(&body, "Leaver", 0);
    CHECK(thread.join() == 9);
    CHECK(left == 3);
    CHECK(body.getResult() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "a thread's own static objects are gone when it is joined") {
    static int left;
    left = 0;
    Body body([] {
        static thread_local const Departure departure(left);
        return departure.getCount();
    });
    for (int round = 1; round <= 50; ++round) {
        Thread thread(&body, "Static", 0);
        thread.join();
        CHECK(left == round);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a name keeps its first 26 characters, and the system shows what it has room for") {
    struct {
        const char* given;
        const char* kept;
        const char* shown;
    } const cases[] = {
        {"0123456789abcdefghijklmnopqrstuvwxyzABCD", "0123456789abcdefghijklmnop", "0123456789abcde\n"},
        {"RPCHelper Thread", "RPCHelper Thread", "RPCHelper Threa\n"},
        {"Worker", "Worker", "Worker\n"},
    };
    for (const auto& test : cases) {
        std::string own;
        std::string known;
        Body body([&] {
            own = Thread::getCurrentThread().getName();
            known = readOwnFile("comm");
            return 0;
        });
        Thread thread(&body, test.given, 0);
        thread.join();
        CHECK(std::string(thread.getName()) == test.kept);
        CHECK(own == test.kept);
        CHECK(known == test.shown);
    }
    CHECK(std::string(Thread::getCurrentThread().getName()) == "");
}

TEST_CASE_FIXTURE(LibraryTest, "a stack is at least as large as asked for, and never smaller than the default") {
    constexpr int cMebi = 1024 * 1024;
    struct {
        int asked;
        int used;
    } const cases[] = {{0, cMebi}, {1, cMebi}, {-1, cMebi}, {4097, cMebi}, {20 * cMebi + 1, 18 * cMebi}};
    for (const auto& test : cases) {
        CAPTURE(test.asked);
        // Each call takes 64 KiB, and uses them.
        std::function<int(int)> descend = [&](int left) {
            volatile char room[65536];
            room[0] = 1;
            room[sizeof(room) - 1] = 1;
            return left <= 65536 ? room[0] : descend(left - 65536) + room[sizeof(room) - 1];
        };
        Body body([&] { return descend(test.used); });
        Thread thread(&body, "Deep", test.asked);
        CHECK(thread.join() == test.used / 65536);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a priority is kept as it was set; one out of range is reported and changes nothing") {
    Gate end;
    Body body([&] {
        end.wait();
        return 0;
    });
    Thread thread(&body, "Levels", 0);
    CHECK(thread.getPriority() == Thread::TPRIO_NORMAL);
    for (const auto level : {Thread::TPRIO_IDLE, Thread::TPRIO_LOWEST, Thread::TPRIO_BELOW_NORMAL,
                             Thread::TPRIO_ABOVE_NORMAL, Thread::TPRIO_HIGHEST, Thread::TPRIO_TIME_CRITICAL}) {
        thread.setPriority(level);
        CHECK(thread.getPriority() == level);
        const ExpectedAssertion expected("priority <= TPRIO_TIME_CRITICAL\nError Message: priority out of range",
                                         cFile);
        thread.setPriority(static_cast<Thread::ThreadPriority>(16));
        CHECK(thread.getPriority() == level);
    }
    end.open();
    thread.join();
    // The thread is gone; what was set is still known.
    thread.setPriority(Thread::TPRIO_LOWEST);
    CHECK(thread.getPriority() == Thread::TPRIO_LOWEST);
}

TEST_CASE_FIXTURE(LibraryTest,
                  "a lower level reaches the system, and a thread started by a lowered one is normal again") {
    struct {
        Thread::ThreadPriority level;
        int steps;
    } const cases[] = {{Thread::TPRIO_BELOW_NORMAL, 5}, {Thread::TPRIO_LOWEST, 10}, {Thread::TPRIO_IDLE, 19}};
    Body body([&] {
        const int normal = readOwnNice();
        for (const auto& test : cases) {
            Thread::getCurrentThread().setPriority(test.level);
            CHECK(readOwnNice() == std::min(normal + test.steps, 19));
        }
        Body child([&] { return Thread::getCurrentThread().getPriority(); });
        return Thread(&child, "Child", 0).join();
    });
    Thread thread(&body, "Lowered", 0);
    CHECK(thread.join() == Thread::TPRIO_NORMAL);
}

TEST_CASE_FIXTURE(LibraryTest, "threads have numbers of their own, and sleep at least as long as they say") {
    const int own = Thread::getCurrentID();
    CHECK(own == Thread::getCurrentID());
    Body body([] { return Thread::getCurrentID(); });
    Thread thread(&body, "Numbered", 0);
    CHECK(thread.join() != own);

    const auto start = std::chrono::steady_clock::now();
    Thread::sleep(0);
    Thread::sleep(20);
    CHECK(std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(20));
}
