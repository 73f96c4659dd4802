#include "common/debug/logmanager.h"
#include "common/interface.h"
#include "common/library.h"
#include "common/memory/memoryexception.h"
#include "common/memory/memorymanaged.h"
#include "common/memory/threadsafeallocator.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/childprocess.h"
#include "tests/support/librarytest.h"

#include <string>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Memory::AllocatorPtr;
using Memory::OutOfMemoryException;

namespace {

/// The library with every byte gone: the host gives nothing more, and every small block is taken.
class Drained {
public:
    explicit Drained(const LibraryTest& test) : mMemory(test.getMemory()), mAllocator(test.allocator()) {
        for (uint32 each = 0; each < cClasses; ++each)
            mBlocks[each].push_back(mAllocator->alloc(4 * each));
        mMemory.failAfter(0);
        drain();
    }
    ~Drained() {
        mMemory.failNever();
        grant(std::size_t(-1));
    }

    /// Makes that many blocks of each class available.
    void grant(std::size_t count) {
        for (auto& blocks : mBlocks) {
            for (std::size_t left = count; left != 0 && !blocks.empty(); --left) {
                mAllocator->free(blocks.back());
                blocks.pop_back();
            }
        }
    }
    /// Takes what is available, and returns how many blocks that is.
    std::size_t drain() {
        std::size_t taken = 0;
        for (uint32 each = 0; each < cClasses; ++each) {
            for (; void* block = mAllocator->tryAlloc(4 * each); ++taken)
                mBlocks[each].push_back(block);
        }
        return taken;
    }

    static constexpr uint32 cClasses = 63;

private:
    CountingMemory& mMemory;
    AllocatorPtr mAllocator;
    std::vector<void*> mBlocks[cClasses];
};

struct Titled : Memory::MemoryManaged {
    String mTitle = "a text of its own, long enough for a block";
};

std::vector<Thrown<OutOfMemoryException>> makeExceptions(int count) {
    std::vector<Thrown<OutOfMemoryException>> exceptions;
    for (; count != 0; --count)
        exceptions.push_back(catchThrown<OutOfMemoryException>(Memory::throwOutOfMemory));
    return exceptions;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "many out-of-memory exceptions live when every byte is gone") {
    Drained drained(*this);
    for (int round = 0; round < 3; ++round) {
        // More than the reserve holds; the global heap has the rest.
        std::vector<Thrown<OutOfMemoryException>> others;
        std::thread other([&others] { others = makeExceptions(60); });
        const auto exceptions = makeExceptions(60);
        other.join();
        for (const auto& exception : exceptions)
            CHECK(exception->getMessage() == "No Memory available");
        exceptions[0]->setInnerException(others[0].release());
    }
    CHECK(drained.drain() == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "what an allocator throws under a lock asks no other allocator") {
    Drained drained(*this);
    auto& ledger = *new LedgerAllocator(LedgerAllocator::EXHAUSTION_THROW);
    Memory::ThreadSafeAllocator locked{AllocatorPtr(&ledger)};
    ledger.mLeft = 0;
    const auto refused = getMemory().getRefused();
    CHECK(locked.tryAlloc(8) == nullptr);
    CHECK(getMemory().getRefused() == refused);
    catchThrown<OutOfMemoryException>([&locked] { locked.alloc(8); });
    CHECK(getMemory().getRefused() > refused);
}

TEST_CASE_FIXTURE(LibraryTest, "whatever fails for want of the n-th block leaves nothing behind") {
    const std::pair<const char*, void (*)(const AllocatorPtr&)> cases[] = {
        {"a shared pointer to a managed object",
         [](const AllocatorPtr& allocator) {
             const SharedPtr<Titled, SimpleReferenceCount> pointer(new (allocator) Titled);
         }},
        {"a log reporter",
         [](const AllocatorPtr&) {
             auto& manager = *Debug::LogManager::getInstance();
             manager.removeLogReporter(manager.createLogReporter("a reporter with a name of its own"));
         }},
    };
    Drained drained(*this);
    for (const auto& c : cases) {
        CAPTURE(c.first);
        std::size_t granted = 0;
        for (bool isDone = false; !isDone; ++granted) {
            REQUIRE(granted < 20);
            drained.grant(granted);
            {
                const AssertionRecorder whatFreeListsReport;
                try {
                    c.second(allocator());
                    isDone = true;
                } catch (OutOfMemoryException* exception) {
                    delete exception;
                }
            }
            REQUIRE(drained.drain() == granted * Drained::cClasses);
        }
        CHECK(granted > 1);
    }
}

TEST_CASE_FIXTURE(BareTest, "an exception outlives the library that it came from") {
    Interface::initLibrary(getMemoryCallback());
    const auto exceptions = makeExceptions(1);
    Interface::closeLibrary();
    CHECK(exceptions[0]->getMessage() == "No Memory available");
    CHECK(getMemory().getBytes() > 0);
}

// The thread sanitizer brings a global heap of its own, from which the program's cannot take over everywhere.
#ifndef TARQ_TEST_THREAD_SANITIZER
TEST_CASE_FIXTURE(BareTest, "a global heap without a byte left throws, and the library stays as it was") {
    const std::string pageSize = std::to_string(sizeof(void*) == 4 ? 16392 : 16396);
    for (const auto& [mode, written] :
         {std::pair<std::string, std::string>{"heap",
                                              "failed at each of several, then came up; 40 exceptions; closed\n"},
          {"callback", "header\nError Message: Cannot allocate memory block of size: " + pageSize +
                           " (common/memory/freelistallocator); null; a string threw; closed\n"},
          {"reserve", "failed at each of several, then came up; \nError Message: No Memory available "
                      "(common/memory/reserveallocator); "}}) {
        const Ended ended = runProgram("heapexhausted", mode);
        CHECK(ended.out == written);
        CHECK(ended.err == "");
        CHECK(ended.exitCode == 0);
    }
}
#endif
