#include "common/debug/logmanager.h"

#include "common/debug/report.h"
#include "common/exceptions/argumentexception.h"
#include "common/interface.h"
#include "common/memory/memoryexception.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Tarq::Common::Debug;

namespace {

constexpr LogType cEach[] = {LOG_DBGMSG, LOG_DBGERR, LOG_MESSAGE, LOG_WARNING, LOG_ERROR};

LogReporter& common() {
    return *Library::getLogReporter();
}

LogManager& manager() {
    return *LogManager::getInstance();
}

void say(LogType type, const char* message) {
    common().reportLog(type, message, "f", "file", 1);
}

std::string breakText(const char* message, const char* type) {
    return std::string("\nError Message: ") + message + "\nLogBreak ErrorType: " + type + "\nInstance: Common";
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a new reporter reports every type and breaks on none") {
    LogReporter* const reporter = manager().createLogReporter("Mine");
    REQUIRE(reporter != nullptr);
    CHECK(reporter->getLogTypes() == 255);
    CHECK(reporter->getAssertTypes() == 0);
    const RecordingListener listener;
    for (const LogType type : cEach)
        reporter->reportLog(type, "m", "function", "file", type);
    REQUIRE(listener.mHeard.size() == 5);
    for (std::size_t index = 0; index < 5; ++index) {
        CHECK(listener.mHeard[index].type == cEach[index]);
        CHECK(listener.mHeard[index].line == cEach[index]);
        CHECK(listener.mHeard[index].reporter == "Mine");
        CHECK(listener.mHeard[index].function == "function");
        CHECK(listener.mHeard[index].file == "file");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a name is given to one reporter at a time") {
    CHECK(manager().createLogReporter("Common") == nullptr);
    LogReporter* const first = manager().createLogReporter("Mine");
    CHECK(manager().createLogReporter("Mine") == nullptr);
    // The manager's own reporter is not among those with a name.
    LogReporter* const second = manager().createLogReporter("LogManager");
    CHECK(second != nullptr);
    manager().removeLogReporter(first);
    manager().removeLogReporter(nullptr);
    CHECK(manager().createLogReporter("Mine") != nullptr);
}

TEST_CASE_FIXTURE(LibraryTest, "a reporter that is not among the manager's is left alone") {
    LogReporter stranger("Common", manager());
    manager().removeLogReporter(&stranger);
    LogReporter unknown("Unknown", manager());
    manager().removeLogReporter(&unknown);
    const RecordingListener listener;
    say(LOG_ERROR, "still-there");
    CHECK(listener.messages() == "still-there ");
}

TEST_CASE_FIXTURE(LibraryTest, "a type that is switched off reaches no listener and raises no break") {
    const RecordingListener listener;
    common().enableAssertType(LOG_WARNING, true);
    common().enableLogType(LOG_WARNING, false);
    say(LOG_WARNING, "off");
    common().enableLogType(LOG_DBGMSG | LOG_MESSAGE | LOG_ERROR, false);
    CHECK(common().getLogTypes() == (255 & ~29u));
    for (const LogType type : cEach)
        say(type, type == LOG_DBGERR ? "on" : "off");
    common().enableLogType(LOG_MESSAGE | LOG_ERROR, true);
    say(LOG_ERROR, "on-again");
    CHECK(listener.messages() == "on on-again ");
}

TEST_CASE_FIXTURE(LibraryTest, "a log break comes after the delivery, with the type's name") {
    const struct {
        uint32 type;
        const char* name;
    } cases[] = {{1, "DbgMsg"}, {2, "DbgErr"}, {4, "Message"}, {8, "Warning"}, {16, "Error"}, {3, "UNKNOWN"}};
    for (const auto& each : cases) {
        const auto type = static_cast<LogType>(each.type);
        common().enableAssertType(type, true);
        const ExpectedAssertion expected(breakText("broken", each.name), "common/debug/logreporter");
        {
            RecordingListener listener;
            listener.onEach = [&] { CHECK(expected.getCount() == 0); };
            say(type, "broken");
            CHECK(listener.mHeard.size() == (each.type == 3 ? 2 : 1));
        }
        CHECK(expected.getCount() == 1);
        common().enableAssertType(type, false);
        say(type, "whole");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a report of two types reaches the listeners of both, type by type") {
    std::string order;
    RecordingListener both(LOG_DBGERR | LOG_DBGMSG);
    RecordingListener second(LOG_DBGERR);
    RecordingListener first(LOG_DBGMSG);
    RecordingListener error(LOG_ERROR);
    both.onEach = [&] { order += "both "; };
    second.onEach = [&] { order += "second "; };
    first.onEach = [&] { order += "first "; };
    error.onEach = [&] { order += "error "; };
    manager().addListener(LOG_DBGMSG, &both);
    say(static_cast<LogType>(3), "m");
    CHECK(order == "both first both second ");
    CHECK(both.mHeard.front().type == 3);
    order.clear();
    say(static_cast<LogType>(224), "no listener's type");
    CHECK(order == "");
}

TEST_CASE_FIXTURE(LibraryTest, "a listener that reports is served at once, down to the depth limit") {
    RecordingListener listener(LOG_ERROR);
    RecordingListener other(LOG_WARNING);
    listener.onEach = [&] {
        say(LOG_WARNING, "inner");
        say(LOG_ERROR, "again");
    };
    say(LOG_ERROR, "outer");
    CHECK(listener.mHeard.size() == 8);
    CHECK(other.mHeard.size() == 7);
    listener.onEach = nullptr;
    say(LOG_ERROR, "after");
    CHECK(listener.mHeard.back().message == "after");
}

TEST_CASE_FIXTURE(LibraryTest, "what a listener throws becomes an assertion, and the others hear the report") {
    RecordingListener listener;
    RecordingListener next;
    SUBCASE("an exception of the library") {
        const ExpectedAssertion expected("\nError Message: A log listener has thrown an exception: mine",
                                         "common/debug/logmanager");
        listener.onEach = [] { throw new Exceptions::ArgumentException("mine", "argument"); };
        say(LOG_ERROR, "m");
    }
    SUBCASE("an exception of the standard") {
        const ExpectedAssertion expected("\nError Message: A log listener has thrown an exception: standard",
                                         "common/debug/logmanager");
        listener.onEach = [] { throw std::runtime_error("standard"); };
        say(LOG_ERROR, "m");
    }
    SUBCASE("anything else passes on, and leaves the manager in order") {
        listener.onEach = [] { throw 42; };
        CHECK_THROWS_AS(say(LOG_ERROR, "m"), int);
        listener.onEach = nullptr;
        say(LOG_ERROR, "m");
    }
    CHECK(next.messages() == "m ");
}

TEST_CASE_FIXTURE(LibraryTest, "a listener that is added during a delivery hears the next one") {
    RecordingListener adding(LOG_DBGMSG);
    RecordingListener added(LOG_ERROR);
    adding.onEach = [&] { manager().addListener(LOG_DBGMSG | LOG_DBGERR, &added); };
    say(LOG_DBGMSG | LOG_DBGERR, "first");
    CHECK(added.messages() == "");
    say(LOG_DBGMSG, "second");
    CHECK(added.messages() == "second ");
}

TEST_CASE_FIXTURE(LibraryTest, "a listener that is removed during a delivery is left out at once") {
    RecordingListener removing(LOG_ERROR);
    auto next = std::make_unique<RecordingListener>(LOG_ERROR);
    RecordingListener last(LOG_ERROR);
    removing.onEach = [&] {
        next.reset();
        removing.leave();
        removing.onEach = nullptr;
    };
    say(LOG_ERROR, "first");
    say(LOG_ERROR, "second");
    CHECK(removing.messages() == "first ");
    CHECK(last.messages() == "first second ");
}

TEST_CASE_FIXTURE(LibraryTest, "a listener may remove, add and assert in a delivery inside another one") {
    RecordingListener outer(LOG_ERROR);
    RecordingListener inner(LOG_WARNING);
    RecordingListener moved(LOG_ERROR);
    const ExpectedAssertion expected("\nError Message: from a listener", "tests/debug/logmanager_test");
    outer.onEach = [] { say(LOG_WARNING, "inner"); };
    inner.onEach = [&] {
        moved.leave();
        manager().addListener(LOG_ERROR, &moved);
        TARQ_FAIL("from a listener");
        inner.leave();
    };
    say(LOG_ERROR, "first");
    say(LOG_ERROR, "second");
    CHECK(outer.messages() == "first second ");
    CHECK(inner.messages() == "inner ");
    CHECK(moved.messages() == "second ");
}

TEST_CASE_FIXTURE(LibraryTest, "a listener that cannot be added to every type is added to none") {
    RecordingListener listener(static_cast<LogType>(0));
    // Growing beyond what a page's slots hold takes a block from the host for each list.
    std::vector<std::unique_ptr<RecordingListener>> others;
    for (int count = 0; count < 63; ++count)
        others.push_back(std::make_unique<RecordingListener>());
    int refused = 0;
    for (int granted = 0; granted < 6; ++granted) {
        getMemory().failAfter(granted);
        try {
            manager().addListener(RecordingListener::cAll, &listener);
        } catch (Memory::OutOfMemoryException* exception) {
            const Exceptions::Holder holder(exception);
            ++refused;
        }
        getMemory().failNever();
        if (refused == granted)
            break;
        for (const LogType type : cEach)
            say(type, "m");
        CHECK(listener.mHeard.empty());
    }
    CHECK(refused >= 1);
    say(RecordingListener::cAll, "now");
    CHECK(listener.mHeard.size() == 5);
}

namespace {

/// Reports each assertion through the reporter, as a host may want to.
class ReportingCallback : public Callback::AssertCallback {
public:
    void showAssert(const char* message, const char*, unsigned int) override {
        ++mCount;
        say(LOG_ERROR, message);
    }
    int mCount = 0;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an assertion callback that reports does not break without end") {
    auto* const callback = new ReportingCallback;
    Interface::setAssertCallback(Callback::AssertCallbackPtr(callback));
    common().enableAssertType(LOG_ERROR, true);
    for (int times = 1; times <= 2; ++times) {
        say(LOG_ERROR, "m");
        CHECK(callback->mCount == 8 * times);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "reports from several threads arrive whole, one at a time") {
    bool isInside = false;
    bool overlapped = false;
    RecordingListener listener;
    listener.onEach = [&] {
        overlapped |= isInside;
        isInside = true;
        listener.mHeard.back().line += 1;
        isInside = false;
    };
    std::vector<std::thread> threads;
    for (uint32 number = 0; number < 4; ++number)
        threads.emplace_back([number] {
            const RecordingListener own(LOG_DBGMSG);
            for (uint32 times = 0; times < 250; ++times) {
                common().enableAssertType(LOG_MESSAGE, false);
                report({LOG_MESSAGE, "f", "file", number}, "thread ", number, " time ", times);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    CHECK(!overlapped);
    REQUIRE(listener.mHeard.size() == 1000);
    uint32 times[4] = {};
    for (const RecordingListener::Heard& heard : listener.mHeard) {
        const uint32 number = heard.line - 1;
        REQUIRE(number < 4);
        CHECK(heard.message == "thread " + std::to_string(number) + " time " + std::to_string(times[number]++));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a removal that has returned is not overtaken by a delivery on another thread") {
    std::atomic<bool> stop{false};
    std::thread reporting([&] {
        while (!stop.load())
            say(LOG_DBGMSG, "m");
    });
    for (int times = 0; times < 200; ++times) {
        bool gone = false;
        RecordingListener listener(LOG_DBGMSG);
        listener.onEach = [&gone] { CHECK(!gone); };
        listener.leave();
        gone = true;
    }
    stop = true;
    reporting.join();
}
