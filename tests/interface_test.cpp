#include "common/interface.h"

#include "common/debug/logmanager.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"

#include "tests/support/childprocess.h"
#include "tests/support/librarytest.h"

#include <csignal>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

bool isDown() {
    return !Interface::getGlobalAllocator() && !Interface::getLogReporter() && !Library::getDebugAlloc() &&
           !Library::getExceptionAlloc() && !Library::getStringAlloc() && !Library::getTempAlloc() &&
           !Debug::LogManager::getInstance();
}

} // namespace

TEST_CASE_FIXTURE(BareTest, "only the first start and the last end do work, and the first callback is the one") {
    const CountingMemoryPtr second(new CountingMemory);
    CHECK(isDown());
    Interface::initLibrary(getMemoryCallback());
    const auto taken = getMemory().getTaken();
    const Debug::LogReporter* const reporter = Interface::getLogReporter();
    Interface::initLibrary(second);
    Interface::initLibrary(nullptr);
    CHECK(getMemory().getTaken() == taken);
    CHECK(second->getTaken() == 0);
    CHECK(second.getReferenceCount() == 1);

    for (int left = 2; left != 0; --left) {
        Interface::closeLibrary();
        CHECK(Interface::getGlobalAllocator()->getName() == std::string("Callback"));
        CHECK(Interface::getLogReporter() == reporter);
    }
    CHECK(reporter->getName() == "Common");
    Interface::closeLibrary();
    CHECK(isDown());
    CHECK(getMemory().getBytes() == 0);
}

TEST_CASE_FIXTURE(BareTest, "one end too many is an assertion and changes nothing") {
    const auto closeOnceTooOften = [] {
        const ExpectedAssertion expected("mInitCount > 0\nError Message: Deinit is called to often for: Common",
                                         "common/utility/initcounter");
        Interface::closeLibrary();
    };
    closeOnceTooOften();
    closeOnceTooOften();
    Interface::initLibrary(getMemoryCallback());
    CHECK_FALSE(isDown());
    Interface::closeLibrary();
    CHECK(isDown());
    closeOnceTooOften();
}

TEST_CASE_FIXTURE(BareTest, "the host may let go of its memory callback, which goes with the library") {
    class Host : public CountingMemory {
    public:
        explicit Host(int64& bytesAtTheEnd) : mBytesAtTheEnd(bytesAtTheEnd) {}
        ~Host() override { mBytesAtTheEnd = getBytes(); }
        int64& mBytesAtTheEnd;
    };
    int64 bytesAtTheEnd = -1;
    Interface::initLibrary(Callback::MemoryCallbackPtr(new Host(bytesAtTheEnd)));
    CHECK(bytesAtTheEnd == -1);
    SUBCASE("at once") {}
    SUBCASE("when the last allocator pointer goes") {
        const Memory::AllocatorPtr kept = Library::getTempAlloc();
        Interface::closeLibrary();
        CHECK(bytesAtTheEnd == -1);
        kept->free(kept->alloc(8));
        Interface::initLibrary(getMemoryCallback());
    }
    Interface::closeLibrary();
    CHECK(bytesAtTheEnd == 0);
}

TEST_CASE_FIXTURE(BareTest, "a start that finds no memory throws and leaves the library down") {
    int failures = 0;
    for (bool isUp = false; !isUp; ++failures) {
        REQUIRE(failures < 100);
        getMemory().failAfter(failures);
        const AssertionRecorder whatFreeListsReport;
        try {
            Interface::initLibrary(getMemoryCallback());
            isUp = true;
        } catch (Memory::OutOfMemoryException* exception) {
            CHECK(exception->getMessage() == "No Memory available");
            delete exception;
            REQUIRE(isDown());
            REQUIRE(getMemory().getBytes() == 0);
            REQUIRE(getMemoryCallback().getReferenceCount() == 2);
        }
    }
    CHECK(failures > 3);
    // The counter was taken back each time: one end is enough.
    Interface::closeLibrary();
    CHECK(isDown());
}

TEST_CASE_FIXTURE(BareTest, "leaving the process with the library up is reported by the counter") {
    const std::string text = "mInitCount == 0\nError Message: Common still has 2 initialisations left! ";
    SUBCASE("to the host's callback, which is released after that") {
        const Ended ended = runProgram("end", "own");
        CHECK(ended.out == "common/utility/initcounter: " + text + "\nthe callback is gone\n");
        CHECK(ended.err == "");
        CHECK(ended.exitCode == 0);
    }
    SUBCASE("by the default callback, which ends the process") {
        const Ended ended = runProgram("end", "default");
        CHECK(ended.err.find("common/utility/initcounter") != std::string::npos);
        CHECK(ended.err.find(text) != std::string::npos);
        CHECK(ended.signal == SIGABRT);
    }
}

TEST_CASE_FIXTURE(BareTest, "assertions of static objects find a callback to the very end of the process") {
    const Ended ended = runProgram("end", "asserting");
    CHECK(ended.out == "an object of the host: the host's callback\nthe callback is gone\n");
    CHECK(ended.err.find("after everything:2: Assertion failed: nobody is left") == 0);
    CHECK(ended.signal == SIGABRT);
}

TEST_CASE_FIXTURE(BareTest, "a thread goes on using the library while the process ends without closing it") {
    const Ended ended = runProgram("endwhileused");
    CHECK(ended.out == "reported\nthe callback is gone\n");
    CHECK(ended.err == "");
    CHECK(ended.exitCode == 0);
}
