#include "common/debug/callstack.h"

#include "common/exceptions/argumentexception.h"
#include "common/exceptions/invalidstateexception.h"
#include "common/io/ioexception.h"
#include "common/memory/memoryexception.h"
#include "common/platform/callstack.h"
#include "common/platform/symbols.h"
#include "tests/support/librarytest.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::CallStack;
using Debug::CallStackEntry;
using Debug::CallStackRecord;

namespace {

/// Without debug information only exported functions have names, and nothing has lines.
bool knowsEverything() {
    return Platform::canReadDebugInfo();
}

class WithoutDebugInfo {
public:
    WithoutDebugInfo() { Platform::enableDebugInfo(false); }
    ~WithoutDebugInfo() { Platform::enableDebugInfo(true); }
    WithoutDebugInfo(const WithoutDebugInfo&) = delete;
    WithoutDebugInfo& operator=(const WithoutDebugInfo&) = delete;
};

/// The module with `throwInModule`, loaded from construction to `close`.
class ThrowingModule {
public:
    ThrowingModule() : mHandle(dlopen(cFile, RTLD_NOW | RTLD_LOCAL)) { REQUIRE(mHandle); }
    ~ThrowingModule() { close(); }
    ThrowingModule(const ThrowingModule&) = delete;
    ThrowingModule& operator=(const ThrowingModule&) = delete;

    void close() {
        if (mHandle)
            dlclose(mHandle);
        mHandle = nullptr;
    }
    Thrown<Exceptions::InvalidStateException> catchThrownInside() const {
        const auto throwInModule = reinterpret_cast<void (*)()>(dlsym(mHandle, "throwInModule"));
        return catchThrown<Exceptions::InvalidStateException>(throwInModule);
    }
    uint32 getLine() const { return *static_cast<const uint32*>(dlsym(mHandle, "gThrowingLine")); }
    uint32 countEntriesWhileLoading() const {
        return reinterpret_cast<uint32 (*)()>(dlsym(mHandle, "countEntriesWhileLoading"))();
    }
    static bool isLoaded() {
        void* const handle = dlopen(cFile, RTLD_NOW | RTLD_NOLOAD);
        if (handle)
            dlclose(handle);
        return handle != nullptr;
    }

    static constexpr const char* cFile = TARQ_TEST_MODULE_DIR "/throwing" TARQ_TEST_MODULE_SUFFIX;
    static constexpr const char* cName = "throwing" TARQ_TEST_MODULE_SUFFIX;

private:
    void* mHandle;
};

/// Gives every block that is asked for, or none after some, and remembers the sizes.
class RationedAllocator final : public Memory::Allocator {
public:
    explicit RationedAllocator(uint32 ration) : Allocator("Rationed"), mRation(ration) {}
    void* alloc(uint32 size) override {
        if (void* const block = tryAlloc(size))
            return block;
        throw new Memory::OutOfMemoryException;
    }
    void free(void* block) override { ::operator delete(block); }
    void* tryAlloc(uint32 size) noexcept override {
        if (mRation == 0)
            return nullptr;
        --mRation;
        sizes.push_back(size);
        return ::operator new(size);
    }

    std::vector<uint32> sizes;

private:
    uint32 mRation;
};

bool isIn(const CallStackEntry& entry, const char* function, const char* file) {
    return entry.mFunction == function && entry.mFile.ends_with(file);
}

thread_local uint32 tLine = 0;

/// Keeps the call before it from becoming a jump.
void stay() {
    asm volatile("" ::: "memory");
}

// The functions that make exceptions, all of them real ones.

[[gnu::noinline]] void makePlain() {
    tLine = __LINE__ + 1;
    throw new Exceptions::Exception("plain");
}

[[gnu::noinline]] void makeDerived() {
    tLine = __LINE__ + 1;
    throw new Exceptions::ArgumentNullException("derived through two constructors", "argument");
}

[[gnu::noinline]] void makeInherited() {
    tLine = __LINE__ + 1;
    throw new IO::FileNotFoundException("the constructor is in a header", "file", "/file");
}

[[gnu::noinline]] void makeOutOfMemory() {
    tLine = __LINE__ + 1;
    throw new Memory::OutOfMemoryException;
}

[[gnu::noinline]] Exceptions::Exception* evaluateArgument() {
    const Exceptions::Holder other(new Exceptions::InvalidStateException("made between new and constructor"));
    return nullptr;
}

[[gnu::noinline]] void makeWithOther() {
    const Exceptions::Holder other(new Exceptions::InvalidStateException("made before"));
    tLine = __LINE__ + 1;
    throw new Exceptions::Exception(evaluateArgument() ? "never" : "made after");
}

template <class T>
[[gnu::noinline]] void makeInTemplate(T) {
    tLine = __LINE__ + 1;
    throw new Exceptions::Exception("template");
}

struct Maker {
    [[gnu::noinline]] Maker() {
        tLine = __LINE__ + 1;
        throw new Exceptions::Exception("constructor of something else");
    }
    [[gnu::noinline]] explicit Maker(int) {}
    [[gnu::noinline]] void operator()(int) const {
        tLine = __LINE__ + 1;
        throw new Exceptions::Exception("operator");
    }
    [[gnu::noinline]] bool operator<(const Maker&) const {
        tLine = __LINE__ + 1;
        throw new Exceptions::Exception("operator");
    }
    [[gnu::noinline]] explicit operator unsigned int() const {
        tLine = __LINE__ + 1;
        throw new Exceptions::Exception("operator");
    }
};

struct MakerCase {
    const char* function;
    void (*make)();
};

const MakerCase cMakers[] = {
    {"(anonymous namespace)::makePlain", makePlain},
    {"(anonymous namespace)::makeDerived", makeDerived},
    {"(anonymous namespace)::makeInherited", makeInherited},
    {"(anonymous namespace)::makeOutOfMemory", makeOutOfMemory},
    {"(anonymous namespace)::makeWithOther", makeWithOther},
    {"(anonymous namespace)::makeInTemplate<void (*)(int)>", [] { makeInTemplate<void (*)(int)>(nullptr); }},
    {"(anonymous namespace)::Maker::Maker", [] { Maker(); }},
    {"(anonymous namespace)::Maker::operator()", [] { Maker(1)(1); }},
    {"(anonymous namespace)::Maker::operator<", [] { static_cast<void>(Maker(1) < Maker(1)); }},
    {"(anonymous namespace)::Maker::operator unsigned int",
     [] { static_cast<void>(static_cast<unsigned int>(Maker(1))); }},
};

[[gnu::noinline]] void recordBelow(uint32 depth, CallStackRecord& record, const Memory::AllocatorPtr& allocator) {
    if (depth == 0)
        record.capture(allocator, Platform::getFrameEnd());
    else
        recordBelow(depth - 1, record, allocator);
    stay();
}

/// Inlined wherever that happens at all.
[[gnu::always_inline]] inline void recordInlined(CallStackRecord& record, uint32& line) {
    line = __LINE__ + 1;
    recordBelow(0, record, Memory::AllocatorPtr());
}

[[gnu::noinline]] void recordAroundInlined(CallStackRecord& record, uint32& line) {
    recordInlined(record, line);
    stay();
}

/// The names of the functions in `callStack` that begin with `prefix`.
uint32 countFunctions(const CallStack& callStack, const char* function) {
    return static_cast<uint32>(
        std::ranges::count_if(callStack, [&](const CallStackEntry& entry) { return entry.mFunction == function; }));
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "debug information can be read where it is installed") {
    // The 32-bit build has no library for it.
    CHECK(knowsEverything() == (sizeof(void*) == 8));
}

TEST_CASE_FIXTURE(LibraryTest, "a call stack begins with the function that makes the exception") {
    for (const MakerCase& maker : cMakers) {
        CAPTURE(maker.function);
        const auto thrown = catchThrown<Exceptions::Exception>(maker.make);
        const CallStack& callStack = thrown->getCallStack();
        REQUIRE(callStack.size() > 1);
        CHECK(callStack.front().mModule == "tarq-tests");
        if (!knowsEverything())
            continue;
        CHECK(callStack.front().mFunction == maker.function);
        CHECK(callStack.front().mFile.ends_with("tests/debug/callstack_test.cpp"));
        CHECK(callStack.front().mLine == tLine);
        CHECK(countFunctions(callStack, "main") == 1);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "an exception that was not made by new begins with the caller of its constructor") {
    const Exceptions::Exception exception("on the stack");
    const uint32 line = __LINE__ - 1;
    const CallStackEntry& first = exception.getCallStack().front();
    CHECK(first.mModule == "tarq-tests");
    if (knowsEverything())
        CHECK(first.mLine == line);
}

TEST_CASE_FIXTURE(LibraryTest, "a function that calls itself stands in the call stack as often as it was called") {
    CallStackRecord record;
    recordBelow(5, record, allocator());
    CallStack callStack(allocator());
    record.resolve(callStack);
    CHECK(callStack.size() > 5);
    if (knowsEverything())
        CHECK(countFunctions(callStack, "(anonymous namespace)::recordBelow") == 5);
}

TEST_CASE_FIXTURE(LibraryTest, "a function that was put into its caller has an entry of its own") {
    CallStackRecord record;
    uint32 line = 0;
    recordAroundInlined(record, line);
    CallStack callStack(allocator());
    record.resolve(callStack);
    if (!knowsEverything())
        return;
    REQUIRE(callStack.size() > 2);
    auto entry = callStack.begin();
    CHECK(isIn(*entry, "recordInlined", "callstack_test.cpp"));
    CHECK(entry->mLine == line);
    ++entry;
    CHECK(isIn(*entry, "(anonymous namespace)::recordAroundInlined", "callstack_test.cpp"));
    CHECK(entry->mLine > line);
}

TEST_CASE_FIXTURE(LibraryTest, "a record takes exactly its addresses' bytes, for 128 functions at most") {
    auto* const rationed = new RationedAllocator(100);
    const Memory::AllocatorPtr pointer(rationed);
    {
        CallStackRecord shallow;
        recordBelow(0, shallow, pointer);
        CallStackRecord deeper;
        recordBelow(3, deeper, pointer);
        CallStackRecord tooDeep;
        recordBelow(300, tooDeep, pointer);
    }
    REQUIRE(rationed->sizes.size() == 3);
    CHECK(rationed->sizes[0] % sizeof(void*) == 0);
    CHECK(rationed->sizes[1] == rationed->sizes[0] + 3 * sizeof(void*));
    CHECK(rationed->sizes[2] == 128 * sizeof(void*));
}

TEST_CASE_FIXTURE(LibraryTest, "without memory a record is empty, and a call stack ends early") {
    CallStackRecord record;
    recordBelow(0, record, Memory::AllocatorPtr(new RationedAllocator(0)));
    CHECK(record.isEmpty());

    recordBelow(3, record, allocator());
    CallStack callStack{Memory::AllocatorPtr(new RationedAllocator(2))};
    record.resolve(callStack);
    CHECK(callStack.size() == 2);
}

TEST_CASE_FIXTURE(LibraryTest, "functions in a module are named while it is loaded, and afterwards do no harm") {
    ThrowingModule module;
    const uint32 line = module.getLine();
    const auto read = module.catchThrownInside();
    const CallStackEntry& first = read->getCallStack().front();
    CHECK(first.mModule == ThrowingModule::cName);
    CHECK(first.mFunction == "throwInModule"); // It is exported, so this needs no debug information.
    if (knowsEverything()) {
        CHECK(first.mFile.ends_with("tests/modules/throwing.cpp"));
        CHECK(first.mLine == line);
    }
    CHECK(module.countEntriesWhileLoading() > 2);

    const auto unread = module.catchThrownInside();
    module.close();
    REQUIRE(!ThrowingModule::isLoaded());
    const CallStack& callStack = unread->getCallStack();
    CHECK(callStack.size() == read->getCallStack().size());
    CHECK(callStack.front().mFunction == "");
    CHECK(callStack.front().mFile == "");
    CHECK(callStack.front().mModule == "");
    CHECK(callStack.back().mModule == "tarq-tests");

    const ThrowingModule again;
    CHECK(again.catchThrownInside()->getCallStack().front().mFunction == "throwInModule");
}

TEST_CASE_FIXTURE(LibraryTest, "without debug information modules and exported functions are known") {
    const WithoutDebugInfo without;
    CHECK(!Platform::canReadDebugInfo());
    const ThrowingModule module;
    const auto thrown = module.catchThrownInside();
    const CallStackEntry& first = thrown->getCallStack().front();
    CHECK(first.mModule == ThrowingModule::cName);
    CHECK(first.mFunction == "throwInModule");
    CHECK(first.mFile == "");
    CHECK(first.mLine == 0);
    CHECK(thrown->getCallStack().back().mModule == "tarq-tests");
}

TEST_CASE_FIXTURE(LibraryTest, "threads read call stacks while others load and unload modules") {
    constexpr uint32 cReaders = 8;
    constexpr uint32 cReadings = 40;
    std::atomic<uint32> wrong{0};
    std::atomic<uint32> readers{cReaders};
    std::vector<std::thread> threads;
    for (uint32 reader = 0; reader < cReaders; ++reader) {
        threads.emplace_back([&] {
            for (uint32 reading = 0; reading < cReadings; ++reading) {
                try {
                    makeDerived();
                } catch (Exceptions::Exception* exception) {
                    const Exceptions::Holder holder(exception);
                    const CallStackEntry& first = holder->getCallStack().front();
                    const bool isRight = first.mModule == "tarq-tests" &&
                                         (!knowsEverything() || first.mFunction.ends_with("::makeDerived"));
                    wrong += isRight ? 0 : 1;
                }
            }
            --readers;
        });
    }
    while (readers != 0) {
        // The module reads a call stack while the loader is at work.
        ThrowingModule module;
        const auto thrown = module.catchThrownInside();
        wrong += module.countEntriesWhileLoading() > 2 ? 0 : 1;
        module.close();
        wrong += thrown->getCallStack().back().mModule == "tarq-tests" ? 0 : 1;
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK(wrong == 0);
}
