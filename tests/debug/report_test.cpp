#include "common/debug/report.h"

#include "common/interface.h"
#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using namespace Tarq::Common::Debug;

namespace {

/// A text that counts how often somebody reads it.
struct CountedText {
    int& reads;
    const char* c_str() const {
        ++reads;
        return "text";
    }
    std::size_t length() const { return 4; }
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a report carries its pieces and its place") {
    const RecordingListener listener;
    report({LOG_WARNING, "Tarq::Test::here"}, "socket ", 17, " closed after ", 2.5, " s by ", String("peer"));
    const unsigned line = __LINE__ - 1;
    REQUIRE(listener.mHeard.size() == 1);
    const RecordingListener::Heard& heard = listener.mHeard.front();
    CHECK(heard.type == LOG_WARNING);
    CHECK(heard.message == "socket 17 closed after 2.5 s by peer");
    CHECK(heard.reporter == "Common");
    CHECK(heard.function == "Tarq::Test::here");
    CHECK(heard.file == "tests/debug/report_test");
    CHECK(heard.line == line);
}

TEST_CASE_FIXTURE(LibraryTest, "a report that nobody wants reads none of its pieces") {
    const RecordingListener listener;
    LogReporter* const reporter = Library::getLogReporter();
    int reads = 0;
    reporter->enableLogType(LOG_DBGMSG, false);
    report({LOG_DBGMSG, "f"}, CountedText{reads});
    report(static_cast<const LogReporter*>(nullptr), {LOG_ERROR, "f"}, CountedText{reads});
    CHECK(reads == 0);
    CHECK(listener.mHeard.empty());
    reporter->enableLogType(LOG_DBGMSG, true);
    report({LOG_DBGMSG, "f"}, CountedText{reads});
    CHECK(reads == 1);
    CHECK(listener.messages() == "text ");
}

namespace {

/// Reports each assertion, as a host may want to.
class ReportingCallback : public Callback::AssertCallback {
public:
    explicit ReportingCallback(int& count) : mCount(count) {}
    void showAssert(const char* message, const char*, unsigned int) override {
        ++mCount;
        report({LOG_ERROR, "showAssert"}, message);
    }

private:
    int& mCount;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "an assertion callback that reports is not called without end") {
    int count = 0;
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new ReportingCallback(count)));
    SUBCASE("when memory runs out") {
        const std::string longText(400, '7');
        getMemory().failAfter(0);
        report({LOG_ERROR, "f"}, longText);
        getMemory().failNever();
        CHECK(count <= 3);
    }
    SUBCASE("when errors break") {
        Library::getLogReporter()->enableAssertType(LOG_ERROR, true);
        for (int times = 1; times <= 2; ++times) {
            report({LOG_ERROR, "f"}, "m");
            CHECK(count == 3 * times);
        }
    }
    const RecordingListener listener;
    report({LOG_WARNING, "f"}, "after");
    CHECK(listener.messages() == "after ");
}

TEST_CASE_FIXTURE(LibraryTest, "a report that finds no memory is dropped, and the next one arrives") {
    const RecordingListener listener;
    // So long that the message is a block from the host; what is shorter has its pages from the first report on.
    const std::string longText(400, '7');
    report({LOG_ERROR, "f"}, "first");
    getMemory().failAfter(0);
    report({LOG_ERROR, "f"}, longText);
    getMemory().failNever();
    CHECK(getMemory().getRefused() > 0);
    CHECK(listener.messages() == "first ");
    report({LOG_ERROR, "f"}, longText);
    CHECK(listener.messages() == "first " + longText + " ");
}
