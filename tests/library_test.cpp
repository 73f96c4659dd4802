#include "common/library.h"

#include "common/debug/logmanager.h"
#include "common/exceptions/argumentexception.h"
#include "common/interface.h"
#include "common/memory/memoryexception.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <string>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Memory::AllocatorPtr;

TEST_CASE_FIXTURE(BareTest, "a host drives the inner frame with an allocator of its own") {
    auto& ledger = *new LedgerAllocator;
    const AllocatorPtr host(&ledger);
    for (int round = 0; round < 2; ++round) {
        Library::init(host);
        const AllocatorPtr& shared = Library::getDebugAlloc();
        CHECK(shared->getName() == std::string("FreeList"));
        CHECK(shared->isThreadSafe());
        CHECK(Library::getExceptionAlloc() == shared);
        CHECK(Library::getStringAlloc() == shared);
        CHECK(Library::getTempAlloc() == shared);
        CHECK(Debug::LogManager::getInstance()->getAllocator() == shared);
        CHECK(Library::getLogReporter()->getName() == "Common");
        CHECK_FALSE(Interface::getGlobalAllocator());
        Library::close();
        CHECK_FALSE(Library::getDebugAlloc());
        CHECK(Library::getLogReporter() == nullptr);
        CHECK(ledger.mOutstanding.empty());
        CHECK(host.getReferenceCount() == 1);
    }
    checkThrown<Exceptions::ArgumentNullException>([] { Library::init(AllocatorPtr()); }, "ArgumentNullException",
                                                   "Library: There is no library without an allocator.");
}

TEST_CASE_FIXTURE(BareTest, "a second start is an assertion; the log manager stays, and the reporter is lost") {
    auto& ledger = *new LedgerAllocator;
    const AllocatorPtr host(&ledger);
    Library::init(host);
    const Debug::LogManager* const manager = Debug::LogManager::getInstance();
    {
        const ExpectedAssertion expected("\nError Message: there is already an instance of this singleton object",
                                         "common/singleton");
        Library::init(host);
    }
    CHECK(Debug::LogManager::getInstance() == manager);
    CHECK(Library::getLogReporter() == nullptr);
    Library::close();
    CHECK(ledger.mOutstanding.empty());
}

TEST_CASE_FIXTURE(BareTest, "a start that finds no memory leaves everything as it was") {
    for (const bool isUp : {false, true}) {
        for (const auto exhaustion : {LedgerAllocator::EXHAUSTION_NULL, LedgerAllocator::EXHAUSTION_THROW}) {
            CAPTURE(isUp);
            CAPTURE(exhaustion);
            auto& first = *new LedgerAllocator;
            const AllocatorPtr firstHost(&first);
            if (isUp)
                Library::init(firstHost);
            const AllocatorPtr shared = Library::getDebugAlloc();
            const Debug::LogReporter* const reporter = Library::getLogReporter();

            auto& second = *new LedgerAllocator(exhaustion);
            const AllocatorPtr secondHost(&second);
            int failures = 0;
            for (bool isDone = false; !isDone; ++failures) {
                REQUIRE(failures < 100);
                second.mLeft = failures;
                const AssertionRecorder whatIsReported;
                try {
                    Library::init(secondHost);
                    isDone = true;
                } catch (Memory::OutOfMemoryException* exception) {
                    delete exception;
                    REQUIRE(second.mOutstanding.empty());
                    REQUIRE(Library::getDebugAlloc() == shared);
                    REQUIRE(Library::getExceptionAlloc() == shared);
                    REQUIRE(Library::getStringAlloc() == shared);
                    REQUIRE(Library::getTempAlloc() == shared);
                    REQUIRE(Library::getLogReporter() == reporter);
                    REQUIRE((Debug::LogManager::getInstance() != nullptr) == isUp);
                }
            }
            CHECK(failures > (isUp ? 1 : 3));
            Library::close();
        }
    }
}
