#include "common/debug/logmanager.h"
#include "common/exceptions/argumentexception.h"
#include "common/interface.h"
#include "common/library.h"
#include "common/memory/allocate.h"
#include "common/memory/memoryexception.h"
#include "common/memory/memorymanaged.h"

#include "tests/support/childprocess.h"
#include "tests/support/librarytest.h"

#include <array>
#include <memory>
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
        for (uint32 each = 1; each < mBlocks.size(); ++each)
            mBlocks[each].push_back(mAllocator->alloc(sizeOf(each)));
        mMemory.failAfter(0);
        drain();
    }
    ~Drained() {
        mMemory.failNever();
        for (auto& blocks : mBlocks)
            giveBack(blocks, blocks.size());
    }

    /// Makes that many blocks of each class available.
    void grant(std::size_t count) {
        for (auto& blocks : mBlocks)
            giveBack(blocks, count);
    }
    /// Takes what is available; returns whether that is the given number of blocks of each class.
    bool drainExactly(std::size_t count) {
        auto before = mBlocks;
        drain();
        bool isExact = true;
        for (uint32 each = 1; each < mBlocks.size(); ++each)
            isExact &= mBlocks[each].size() == before[each].size() + count;
        return isExact;
    }

private:
    static uint32 sizeOf(uint32 sizeClass) { return 4 * sizeClass - 1; }

    void drain() {
        for (uint32 each = 1; each < mBlocks.size(); ++each) {
            while (void* block = mAllocator->tryAlloc(sizeOf(each)))
                mBlocks[each].push_back(block);
        }
    }
    void giveBack(std::vector<void*>& blocks, std::size_t count) {
        for (; count != 0 && !blocks.empty(); --count) {
            mAllocator->free(blocks.back());
            blocks.pop_back();
        }
    }

    CountingMemory& mMemory;
    AllocatorPtr mAllocator;
    std::array<std::vector<void*>, 64> mBlocks;
};

class Counted : public Memory::MemoryManaged {
public:
    Counted() : mText("a text of its own, long enough for a block") { ++sLiving; }
    ~Counted() override { --sLiving; }
    String mText;
    static inline int sLiving = 0;
};

using CountedPtr = SharedPtr<Counted, SimpleReferenceCount>;

std::vector<std::unique_ptr<OutOfMemoryException>> makeExceptions(int count) {
    std::vector<std::unique_ptr<OutOfMemoryException>> exceptions;
    for (int at = 0; at < count; ++at) {
        try {
            Memory::throwOutOfMemory();
        } catch (OutOfMemoryException* exception) {
            exceptions.emplace_back(exception);
        }
    }
    return exceptions;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "many out-of-memory exceptions live when every byte is gone") {
    Drained drained(*this);
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<OutOfMemoryException>> others;
        std::thread other([&others] { others = makeExceptions(24); });
        const auto exceptions = makeExceptions(24);
        other.join();
        for (const auto& exception : exceptions)
            CHECK(exception->getMessage() == "No Memory available");
        exceptions[0]->setInnerException(others[0].release());
        CHECK(exceptions[0]->getInnerException()->getMessage() == "No Memory available");
    }
    CHECK(drained.drainExactly(0));
}

TEST_CASE_FIXTURE(LibraryTest, "whatever fails for want of the n-th block leaves nothing behind") {
    struct Case {
        const char* name;
        void (*run)(const AllocatorPtr&);
    };
    const Case cases[] = {
        {"a managed object", [](const AllocatorPtr& allocator) { delete new (allocator) Counted; }},
        {"a shared pointer to a new object",
         [](const AllocatorPtr& allocator) { const CountedPtr pointer(new (allocator) Counted); }},
        {"a new object assigned to a shared pointer",
         [](const AllocatorPtr& allocator) {
             CountedPtr pointer;
             pointer = new (allocator) Counted;
         }},
        {"a log reporter",
         [](const AllocatorPtr&) {
             auto& manager = *Debug::LogManager::getInstance();
             manager.removeLogReporter(manager.createLogReporter("a reporter with a name of its own"));
         }},
        {"an exception",
         [](const AllocatorPtr&) { delete new Exceptions::ArgumentNullException("The message.", "parameter"); }},
    };
    Drained drained(*this);
    for (const Case& c : cases) {
        CAPTURE(c.name);
        int failures = 0;
        for (bool isDone = false; !isDone && failures < 20;) {
            const auto granted = static_cast<std::size_t>(failures);
            drained.grant(granted);
            {
                const AssertionRecorder whatFreeListsReport;
                try {
                    c.run(allocator());
                    isDone = true;
                } catch (OutOfMemoryException* exception) {
                    delete exception;
                    ++failures;
                }
            }
            REQUIRE(drained.drainExactly(granted));
            REQUIRE(Counted::sLiving == 0);
        }
        CHECK(failures > 0);
        CHECK(failures < 20);
    }
}

TEST_CASE_FIXTURE(BareTest, "an exception outlives the library that it came from") {
    Interface::initLibrary(getMemoryCallback());
    const auto exceptions = makeExceptions(1);
    Interface::closeLibrary();
    CHECK(exceptions[0]->getMessage() == "No Memory available");
    CHECK(getMemory().getBytes() > 0);
}

TEST_CASE_FIXTURE(BareTest, "a global heap without a byte left throws, and the library stays as it was") {
    const Ended ended = runProgram("heapexhausted");
    CHECK(ended.err == "");
    CHECK(ended.out == "failed at each of several, then came up; 40 exceptions; closed\n");
    CHECK(ended.exitCode == 0);
}
