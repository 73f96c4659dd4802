#include "common/debug/callstack.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/interface.h"
#include "common/io/ioexception.h"
#include "common/memory/memoryexception.h"
#include "common/platform/callstack.h"
#include "common/platform/symbols.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <sys/resource.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::CallStack;
using Debug::CallStackEntry;
using Debug::CallStackRecord;
using Exceptions::Exception;
using Exceptions::InvalidStateException;

namespace {

/// Without debug information only exported functions have names, and nothing has lines.
bool knowsEverything() {
    return Platform::canReadDebugInfo();
}

constexpr const char* cModule = "throwing" TARQ_TEST_MODULE_SUFFIX;

/// The module with `throwInModule`, loaded until the pointer is reset.
auto loadModule() {
    const std::string file = std::string(TARQ_TEST_MODULE_DIR "/") + cModule;
    return std::unique_ptr<void, int (*)(void*)>(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL), &dlclose);
}

template <class Function>
Function* find(const auto& module, const char* name) {
    return reinterpret_cast<Function*>(dlsym(module.get(), name));
}

/// Where the exception is made whose call stack is checked.
thread_local uint32 tLine = 0;

const char* at(uint32 line) {
    tLine = line;
    return "made here";
}

const char* makeOther(const char* text, bool throws = false) {
    const Exceptions::Holder other(new InvalidStateException("made between new and constructor"));
    return throws ? throw 1 : text;
}

[[gnu::noinline]] void makeDerived() {
    throw new Exceptions::ArgumentNullException("derived through two constructors", at(__LINE__));
}

[[gnu::noinline]] void makeAfterOthers() {
    try {
        throw new Exceptions::ArgumentNullException("never constructed", makeOther("", true));
    } catch (int) {
        throw new Exceptions::ArgumentNullException("derived", makeOther(at(__LINE__)));
    }
}

/// Inlined wherever that happens at all.
[[gnu::always_inline]] inline void makeInlined() {
    throw new Exception(at(__LINE__));
}

[[gnu::noinline]] void makeAroundInlined() {
    makeInlined();
}

void checkBegin(const CallStack& callStack) {
    REQUIRE(callStack.size() > 1);
    CHECK(callStack.front().mModule == "tarq-tests");
    if (knowsEverything()) {
        CHECK(callStack.front().mFile.ends_with("tests/debug/callstack_test.cpp"));
        CHECK(callStack.front().mLine == tLine);
    }
}

[[gnu::noinline]] void recordBelow(uint32 depth, CallStackRecord& record, const Memory::AllocatorPtr& allocator) {
    if (depth == 0)
        record.capture(allocator, Platform::getFrameEnd());
    else
        recordBelow(depth - 1, record, allocator);
    asm volatile("" ::: "memory"); // keeps the call from becoming a jump
}

} // namespace

// The first one here, and without the fixture, which reads a call stack itself: where this file's tests have a process
// of their own, the library that reads debug information is not open yet.
TEST_CASE("names for which there was no descriptor are found by the next reading") {
    rlimit before{};
    REQUIRE(getrlimit(RLIMIT_NOFILE, &before) == 0);
    const rlimit none{0, before.rlim_max};
    Platform::enableDebugInfo(false);                    // also drops what was read until now
    catchThrown<Exception>(makeDerived)->getCallStack(); // Sanitizers take descriptors when they first see a type.
    Platform::enableDebugInfo(true);
    REQUIRE(setrlimit(RLIMIT_NOFILE, &none) == 0);
    const auto nameless = catchThrown<Exception>(makeDerived);
    nameless->getCallStack();
    REQUIRE(setrlimit(RLIMIT_NOFILE, &before) == 0);
    CHECK(nameless->getCallStack().front().mModule == "tarq-tests");
    CHECK(nameless->getCallStack().front().mFile == "");

    checkBegin(catchThrown<Exception>(makeDerived)->getCallStack());
    CHECK(knowsEverything() == (sizeof(void*) == 8)); // The 32-bit build has no such library.
}

TEST_CASE_FIXTURE(LibraryTest, "a call stack begins with the function that makes the exception") {
    void (*const makers[])() = {
        [] { throw new Exception(at(__LINE__)); },
        [] { throw new IO::FileNotFoundException("its constructor is in a header", "file", at(__LINE__)); },
        [] { throw at(__LINE__) ? new Memory::OutOfMemoryException : nullptr; },
        makeDerived,
        makeAfterOthers,
    };
    for (void (*const maker)() : makers) {
        const auto thrown = catchThrown<Exception>(maker);
        CAPTURE(tLine);
        checkBegin(thrown->getCallStack());
        const auto mains = std::ranges::count(thrown->getCallStack(), "main", &CallStackEntry::mFunction);
        CHECK(mains == (knowsEverything() ? 1 : 0));
    }
    const Exception onStack(at(__LINE__));
    checkBegin(onStack.getCallStack());
}

TEST_CASE_FIXTURE(LibraryTest, "a function that was put into its caller has an entry of its own") {
    const auto thrown = catchThrown<Exception>(makeAroundInlined);
    const CallStack& callStack = thrown->getCallStack();
    checkBegin(callStack);
    if (!knowsEverything())
        return;
    CHECK(callStack.front().mFunction.ends_with("makeInlined")); // some compilers tell its namespace, some do not
    const CallStackEntry& outer = *++callStack.begin();
    CHECK(outer.mFunction == "(anonymous namespace)::makeAroundInlined");
    CHECK(outer.mFile.ends_with("callstack_test.cpp"));
    CHECK(outer.mLine > tLine);
}

TEST_CASE_FIXTURE(LibraryTest, "a record keeps 128 functions, or the half, again and again, that there is room for") {
    constexpr uint32 cRoom = 128; // a slot of the allocator's; larger blocks come from the host
    allocator()->free(allocator()->alloc(cRoom));
    CallStackRecord whole;
    CallStackRecord halved;
    CallStackRecord empty;
    recordBelow(300, whole, allocator());
    getMemory().failAfter(0);
    recordBelow(300, halved, allocator());
    recordBelow(300, empty, Interface::getGlobalAllocator());
    getMemory().failNever();
    CHECK(empty.isEmpty());
    CallStack callStack(allocator());
    halved.resolve(callStack);
    CHECK(callStack.size() == cRoom / sizeof(void*));
    callStack.clear();
    whole.resolve(callStack);
    CHECK(callStack.size() == 128);
    const auto count = std::ranges::count(callStack, "(anonymous namespace)::recordBelow", &CallStackEntry::mFunction);
    CHECK(count == (knowsEverything() ? 128 : 0));

    callStack.clear();
    CallStack beginning(Interface::getGlobalAllocator());
    getMemory().failAfter(2);
    whole.resolve(beginning);
    getMemory().failNever();
    CHECK(beginning.size() == 2);
}

TEST_CASE_FIXTURE(LibraryTest, "functions in a module are named while it is loaded, and afterwards do no harm") {
    auto module = loadModule();
    REQUIRE(module);
    const auto read = catchThrown<InvalidStateException>(find<void()>(module, "throwInModule"));
    const CallStackEntry& first = read->getCallStack().front();
    CHECK(first.mModule == cModule);
    CHECK(first.mFunction == "throwInModule"); // It is exported, so this needs no debug information.
    CHECK(first.mFile.ends_with(knowsEverything() ? "tests/modules/throwing.cpp" : ""));
    CHECK(first.mLine == (knowsEverything() ? *find<const uint32>(module, "gThrowingLine") : 0));
    CHECK(find<uint32()>(module, "countEntriesWhileLoading")() > 2);

    const auto unread = catchThrown<InvalidStateException>(find<void()>(module, "throwInModule"));
    module.reset();
    const CallStack& callStack = unread->getCallStack();
    CHECK(callStack.size() == read->getCallStack().size());
    CHECK(callStack.front().mFunction == "");
    CHECK(callStack.front().mFile == "");
    CHECK(callStack.front().mModule == "");
    CHECK(callStack.back().mModule == "tarq-tests");

    const auto again = loadModule();
    const auto thrown = catchThrown<InvalidStateException>(find<void()>(again, "throwInModule"));
    CHECK(thrown->getCallStack().front().mFunction == "throwInModule");
}

TEST_CASE_FIXTURE(LibraryTest, "threads read call stacks while others load and unload modules") {
    std::atomic<uint32> wrong{0};
    std::atomic<uint32> readers{8};
    const auto readRepeatedly = [&] {
        for (uint32 reading = 0; reading < 40; ++reading) {
            try {
                makeDerived();
            } catch (Exception* exception) {
                const Exceptions::Holder holder(exception);
                const CallStackEntry& first = holder->getCallStack().front();
                const bool isNamed = !knowsEverything() || first.mFunction == "(anonymous namespace)::makeDerived";
                wrong += isNamed && first.mModule == "tarq-tests" ? 0 : 1;
            }
        }
        --readers;
    };
    std::vector<std::thread> threads;
    for (uint32 reader = readers; reader > 0; --reader)
        threads.emplace_back(readRepeatedly);
    while (readers != 0) {
        // The module reads a call stack while the loader is at work.
        auto module = loadModule();
        const auto thrown = catchThrown<InvalidStateException>(find<void()>(module, "throwInModule"));
        wrong += find<uint32()>(module, "countEntriesWhileLoading")() > 2 ? 0 : 1;
        module.reset();
        wrong += thrown->getCallStack().back().mModule == "tarq-tests" ? 0 : 1;
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK(wrong == 0);
}
