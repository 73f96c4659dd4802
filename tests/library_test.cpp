#include "common/library.h"

#include "common/debug/logmanager.h"
#include "common/exceptions/argumentexception.h"
#include "common/interface.h"

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
