#include "common/debug/logmanager.h"

#include "common/debug/report.h"
#include "common/exceptions/argumentexception.h"
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

TEST_CASE_FIXTURE(LibraryTest,
                  "a name is given to one reporter at a time, which reports all and breaks on nothing at first") {
    CHECK(manager().createLogReporter("Common") == nullptr);
    LogReporter* const first = manager().createLogReporter("Mine");
    CHECK(first->getLogTypes() == 255);
    CHECK(first->getAssertTypes() == 0);
    CHECK(manager().createLogReporter("Mine") == nullptr);
    // The manager's own reporter is not among those with a name.
    CHECK(manager().getOwnReporter().getName() == "LogManager");
    CHECK(manager().createLogReporter("LogManager") != nullptr);
    LogReporter stranger("Mine", manager());
    manager().removeLogReporter(&stranger);
    manager().removeLogReporter(nullptr);
    CHECK(manager().createLogReporter("Mine") == nullptr);
    manager().removeLogReporter(first);
    manager().removeLogReporter(first);
    CHECK(manager().createLogReporter("Mine") != nullptr);
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
    CHECK(listener.mHeard.size() == 3);
    CHECK(other.mHeard.size() == 2);
    listener.onEach = nullptr;
    say(LOG_ERROR, "after");
    CHECK(listener.mHeard.back().message == "after");
}

TEST_CASE_FIXTURE(LibraryTest, "what a listener throws becomes an assertion, and the others hear the report") {
    const struct {
        void (*fail)();
        const char* text;
    } cases[] = {
        {[] { throw new Exceptions::ArgumentException("mine", "argument"); }, "an exception: mine"},
        {[] { throw std::runtime_error("standard"); }, "an exception: standard"},
        {[] { throw 42; }, "something that is no exception"},
    };
    for (const auto& each : cases) {
        CAPTURE(each.text);
        RecordingListener listener;
        const RecordingListener next;
        listener.onEach = each.fail;
        const ExpectedAssertion expected(std::string("\nError Message: A log listener has thrown ") + each.text,
                                         "common/debug/logmanager");
        say(LOG_ERROR, "m");
        CHECK(next.messages() == "m ");
    }
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
        RecordingListener listener(static_cast<LogType>(0));
        listener.onEach = [&gone] { CHECK(!gone); };
        manager().addListener(LOG_DBGMSG, &listener);
        listener.leave();
        gone = true;
    }
    stop = true;
    reporting.join();
}
